"""What the IDL does not tell about classes and members: which errors reach the caller, and what
happens instead where none does. One text for a class or a member; reference.py stops at a name that
does not exist. Numbers and their texts are listed in docs/errors.md.

CAUTIONS are what members do as they must and a program may lose data by."""

NO_KEY = '-2147221503 "No Key Id" (`mvDBMS::{}`) for an empty key field'
WIDE = '6 for a position beyond 16 bits'
NO_HOST = '91 without a back-end, before the first connection and after Disconnect'
EDIT = NO_KEY + '; ' + WIDE + '; ' + NO_HOST + '; what the back-end raises'

NOTES = {
    'Collection': 'Handed out by `kelBase`. Errors come with the component\'s name as source.',
    'Collection.Add': '5 for both Before and After, or for one that is no item; 9 for a number out '
                      'of range; 13 for a key that is no text; 457 for a key that is there already.',
    'Collection.Item': '5 for an unknown key; 9 for a number out of range; 13 for another kind of '
                       'index.',
    'Collection.Remove': 'As Item.',

    'kelBase': 'All objects of this class on one thread share one registry of key fields and '
               'sessions. No member raises an error for what it cannot do: an object is then '
               'Nothing, a change is not made.',

    'kelFieldCallBack': 'Handed out by `kelBase.GetFieldCallBack`. A listener that fails neither '
                        'keeps the event from the others nor makes the member fail.',

    'kelSessionCallBack': 'Handed out by `kelBase.GetSessionCallBack`. Members that ask the '
                          'session\'s engine raise 381 when there is none under the session\'s '
                          'name, as after SetSessionName.',
    'kelSessionCallBack.OsType': 'Putting: -2147221501 (`kelDBMS::OsType`) for a number without a '
                                 'back-end of version 2 or above; 381. Getting: 381. A back-end '
                                 'whose Connect failed stays and answers with its own number: '
                                 'Disconnect before another kind is to be used. 0 for a listener '
                                 'that asks while it is asked.',
    'kelSessionCallBack.IsConnected': '381 without an engine.',
    'kelSessionCallBack.Connect': 'Raises no error: the reason comes with the event '
                                  'ConnectionFailed. Connecting a connected session answers True; '
                                  'inside a Connect that has no outcome yet the answer is False. '
                                  'What listeners make of the outcome counts: False when one '
                                  'disconnects, True when one connects after a failure.',
    'kelSessionCallBack.Disconnect': 'Raises no error. Inside another Disconnect it does nothing.',
    'kelSessionCallBack.CommonValue': '381 without an engine.',
    'kelSessionCallBack.CommonObject': '381 without an engine.',
    'kelSessionCallBack.Tools': 'Raises no error: Nothing when it cannot be made.',
    'kelSessionCallBack.AutoUpdateOk': '381 without an engine.',
    'kelSessionCallBack.GetPropertyValue': 'An empty text when nobody answers.',
    'kelSessionCallBack.ConnectionFailed': '381 without an engine.',

    'kelInfo': 'Handed out by `kelDictItem.mvInfo` and `mvReadInfo`. Lives on after the session '
               'disconnects, which then no longer knows it.',
    'kelInfo.Session': 'Raises no error.',
    'kelInfo.FileVar': 'Raises no error.',

    'mviHostDLL': 'The created object has empty bodies: each member succeeds with the default of '
                  'its result. What follows is what a real back-end does. Any of its members may '
                  'raise errors of the database; 10102 is meant for use without a connection.',
    'mviHostDLL.Connect': '10101 when connected already.',
    'mviHostDLL.mvRead': 'A missing and a locked record are answers, told by Status; 10201 and '
                         '10202 are for where they are not.',
    'mviHostDLL.mvWrite': '10302 for a file variable that is closed.',
    'mviHostDLL.mvDelete': '10302 for a file variable that is closed.',
    'mviHostDLL.OpenFile': '10301 for a file that does not exist.',
    'mviHostDLL.ProcessSelect': '10400 for a selection that cannot be made.',

    'kelTools': 'Handed out by a session or a dictionary item. Members that work with the database '
                'raise 10102 "Currently not connected" (`kelTools::` and the member) when there is '
                'no engine under the session\'s name. Key fields are named without regard to case.',
    'kelTools.Connect': '381 without an engine. Without a session name the answer is False. '
                        'Connecting a connected session tells everybody once more; otherwise as '
                        'that of the session.',
    'kelTools.Disconnect': 'Raises no error. Inside another Disconnect it does nothing.',
    'kelTools.IsConnected': 'Raises no error.',
    'kelTools.IsConnecting': 'Raises no error.',
    'kelTools.ConnectionFailed': 'Raises no error.',
    'kelTools.Extract': '10102; ' + NO_KEY.format('Extract') + '; ' + WIDE + '. Any other failure '
                        'gives an empty text.',
    'kelTools.Replace': '10102; ' + EDIT.format('Replace') + '.',
    'kelTools.Insert': '10102; ' + EDIT.format('Insert') + '.',
    'kelTools.Delete': '10102; ' + EDIT.format('Delete') + '.',
    'kelTools.Locate': '10102; ' + EDIT.format('Locate') + '.',
    'kelTools.mvRead': '10102; ' + NO_KEY.format('mvRead') + '; ' + NO_HOST + '; what the back-end '
                       'raises. Found, missing and locked are told by the event ReadValid.',
    'kelTools.mvReadU': 'As mvRead.',
    'kelTools.mvWrite': '10102; ' + NO_KEY.format('mvWrite') + '; every other failure with the '
                        'source `kelDBMS::mvWrite`. Without a record number nothing is written.',
    'kelTools.mvWriteU': 'As mvWrite.',
    'kelTools.mvRelease': 'Raises no error.',
    'kelTools.Dcount': '10102; ' + NO_KEY.format('Dcount') + '; ' + WIDE + '. Any other failure '
                       'gives 0.',
    'kelTools.Count': 'As Dcount; -1 where that gives 0.',
    'kelTools.ExecuteSelect': '10102. Any other failure is not told: the list is then empty.',
    'kelTools.ReadNext': '10102. Any other failure ends the list.',
    'kelTools.CloseSelect': 'Raises no error.',
    'kelTools.CallProg': '10102; ' + NO_HOST + '; what the back-end raises. Arguments behind one '
                         'that is left out are not passed. Results come back in the types of the '
                         'caller\'s variables; one that does not fit is 13, raised when all others '
                         'are back.',
    'kelTools.Execute': '10102. Any other failure is not told: Capture and Returning stay.',
    'kelTools.Oconv': '10102. A conversion that raises an error, or answers what has no text, '
                      'gives an empty text; so does a session without a back-end. What a back-end '
                      'gives for a value or code that it cannot convert is its own: the embedded '
                      'one the value as it stands.',
    'kelTools.Iconv': '10102; ' + NO_HOST + '; what the back-end raises.',
    'kelTools.mvIndex': '6 when an earlier occurrence stands at or behind position 32767; 0 when '
                        'there is no such occurrence.',
    'kelTools.mvField': '6 when the field begins or ends beyond position 32767; an empty text when '
                        'there is no such field.',
    'kelTools.ProcessCorrelative': '10102; ' + NO_KEY.format('ProcessCorrelative') + '; what the '
                                   'back-end raises. A stored program that fails shows its error '
                                   'to the user.',

    'kelDictItem': 'Works in the session that its key field is tied to, else in the one it names. '
                   'Without either it does nothing; 381 when that session has no engine.',
    'kelDictItem.InitalizeDictItem': '381 without an engine. That a definition cannot be read is '
                                     'told by DictRead and DictErrMsg. A key field without a '
                                     'callback has nobody to refresh, which is no failure.',
    'kelDictItem.mvInfo': '-2147221502 (`kelDictItem::mvInfo`) without a session; 381 without an '
                          'engine; 91 for an empty key field.',
    'kelDictItem.mvReadInfo': '381 without an engine; 91 for an empty key field.',
    'kelDictItem.CommonValue': 'Putting: -2147221502 (`kelDictItem::Connect`) without a session. '
                               '381 without an engine.',
    'kelDictItem.CommonObject': 'Setting: -2147221502 (`kelDictItem::Connect`) without a session. '
                                '381 without an engine.',
    'kelDictItem.ReadRecord': '381 without an engine; 91 for an empty key field; what the back-end '
                              'raises.',
    'kelDictItem.WriteRecord': '381 without an engine; 91 for an empty key field; every failure of '
                               'writing with the source `kelDBMS::mvWrite`.',
    'kelDictItem.DeleteRecord': 'As ReadRecord.',
    'kelDictItem.ClearRecord': '381 without an engine; ' + NO_KEY.format('mvNew') + '; what the '
                               'back-end raises.',
    'kelDictItem.Count': 'Raises no error; 0 when all three positions are set, or on failure.',
    'kelDictItem.CallProg': '381 without an engine; ' + NO_KEY.format('mvCallCommonHost') + '. '
                            'A failing program with the prefix `C:` raises its error, any other '
                            'shows it to the user. 13 in the same ways for an argument in which '
                            'the program left an object or an array; what it left in the others '
                            'is taken.',
    'kelDictItem.InternalValue': 'Getting raises no error: what fails leaves an empty text. '
                                 'Putting: what the engine and the back-end raise, with '
                                 '"kelDictItem:Get ExternalValue:" before the description.',
    'kelDictItem.ExternalValue': 'Getting and storing: errors of the engine, with "kelDictItem:Get '
                                 'ExternalValue:" before the description. A conversion for display '
                                 'never fails (see kelTools.Oconv), one of an entered value raises '
                                 'its error as it comes.',
    'kelDictItem.DisplayValue': 'Raises no error.',
    'kelDictItem.InsertRow': 'Raises no error.',
    'kelDictItem.RemoveRow': 'Raises no error.',
}

EMPTY_NAME = ('An empty name is no name: each value put under it is kept, to the end of the session, '
              'and never found again.')
LOCALE = ('A number or a date that is given for the text is written by the rules of the user\'s '
          'language: 1.5 becomes "1,5" where a comma is used. Give the text that is meant.')
ROW_OF_ID = ('An item of attribute 0, as that of many a computed field, takes a row for an attribute: '
             '{} attribute n. Walk a computed field by VMC = n, without a row.')
OWN_REFRESH = ('A handler of Refresh that uses the same item for a row ends the row that the member '
               'is at, which then works on the whole field: give each control an item of its own.')

CAUTIONS = {
    'kelSessionCallBack.CommonValue': EMPTY_NAME,
    'kelSessionCallBack.CommonObject': EMPTY_NAME,
    'kelTools.Replace': LOCALE,
    'kelTools.Insert': LOCALE,
    'kelTools.mvWrite': 'A blank id is not empty: the record is written under it, and no mvRead finds '
                        'it again, since a read takes blanks for no id.',
    'kelTools.mvWriteU': 'As mvWrite.',
    'kelTools.Iconv': LOCALE,
    'kelTools.Dcount': 'Marks are single characters: give them by `ChrW`. `Chr(253)` is another '
                       'character where the system\'s code page is not Western.',
    'kelDictItem.CommonValue': EMPTY_NAME,
    'kelDictItem.CommonObject': EMPTY_NAME,
    'kelDictItem.Count': 'An Integer ends at 32767; for more the answer is 0. kelTools.Dcount counts '
                         'further.',
    'kelDictItem.InternalValue': ROW_OF_ID.format('InternalValue(n) is') + ' ' + OWN_REFRESH +
                                 ' Another id put at attribute 0 starts a new record, which loses '
                                 'the id and what was read, unless UpdateOnly is True; without '
                                 'Session it is ignored. ' + LOCALE,
    'kelDictItem.ExternalValue': 'As InternalValue.',
    'kelDictItem.InsertRow': 'A row below 1 inserts at the item\'s own position: with AMC = 8 and '
                             'VMC = 0 a whole attribute, which moves all behind it. ' +
                             ROW_OF_ID.format('row n inserts') + ' ' + OWN_REFRESH,
    'kelDictItem.RemoveRow': 'A row below 1 removes what is at the item\'s own position: with AMC = 8 '
                             'and VMC = 0 the whole attribute, and all behind it move. ' +
                             ROW_OF_ID.format('row n removes') + ' ' + OWN_REFRESH,
}
