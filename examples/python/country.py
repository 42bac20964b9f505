"""Reads and changes a record from Python.

NOT RUN HERE: there is no Python for Windows on the build machine. Needs pywin32, in the width of the
registered component.

    python country.py ACCOUNT
"""
import sys

import win32com.client


class SessionEvents:
    """pywin32 calls On + the event's name; what is returned is put into by-reference arguments."""

    account = ""

    def OnPropertyValue(self, name, value):
        return {"OsType": "1", "Database": self.account}.get(name, value)

    def OnConnectionFailed(self, message):
        print("not connected:", message)


class CountryEvents:
    def OnReadValid(self, record, is_valid, error_flag):
        print("read", record, "locked" if error_flag == 2 else "new" if error_flag else "found")

    def OnRefresh(self, amc, vmc, smc):
        print("changed", amc, vmc, smc)


def main(account):
    # EnsureDispatch makes the wrappers out of the type library that events need.
    base = win32com.client.gencache.EnsureDispatch("kelSDK.kelBase")
    SessionEvents.account = account
    session = win32com.client.WithEvents(base.GetSessionCallBack("Atlas"), SessionEvents)
    country = win32com.client.WithEvents(base.GetFieldCallBack("Country"), CountryEvents)
    atlas = base.GetSessionCallBack("Atlas")
    base.SetKeyFieldSession("Country", "Atlas")
    if not atlas.Connect():
        return 1
    tools = atlas.Tools
    tools.mvReadU("Country", "CH", "COUNTRIES")
    tools.Replace("Country", "Helvetia", 1)
    tools.mvWrite("Country", "CH")
    # By-reference texts come back as further results.
    output, codes = tools.Execute("COUNT COUNTRIES", "", "")
    print(output)
    atlas.Disconnect()
    session.close()
    country.close()
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1]))
