#!/bin/bash
# kelsh.sh KELSH EXAMPLE_CLIENT EXAMPLES: drives the shell in pipes, and runs the examples that can
# run here with it.
set -uo pipefail
kelsh=$1 client=$2 examples=$3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder" || exit 1
passed=0 failed=0

run() { "$KEL_WINE_RUN" "$KEL_WIDTH" "$@"; }
account() { run "$kelsh" --os 1 --set Database=a.account "$@"; }

# check WHAT STATUS EXPECTED [COMMAND...]: the exit status and all that was said, errors included;
# EXPECTED is a pattern. Input is passed on.
check() {
    local what=$1 wanted=$2 expected=$3 said status=0
    shift 3
    said=$("$@" 2>&1 | tr -d '\r'; exit "${PIPESTATUS[0]}") || status=$?
    # shellcheck disable=SC2053  # a pattern on purpose
    if [[ "$status" == "$wanted" && "$said" == $expected ]]; then
        ((passed += 1))
    else
        ((failed += 1))
        printf 'FAILED: %s: exit status %s, not %s; it said:\n%s\n' "$what" "$status" "$wanted" "$said"
    fi
}

check "an unknown option" 2 "kelsh: there is no option --bad*" run "$kelsh" --bad
check "an option without its value" 2 "kelsh: --os: * number of a back-end *" run "$kelsh" --os
check "a flag with a value" 2 "kelsh: stop *" run "$kelsh" --stop=no
check "a number that is none" 2 "kelsh: --os takes the number of a back-end *, not 1x*" run "$kelsh" --os 1x
check "no assignment" 2 "kelsh: --set takes Name=Value, not Database*" run "$kelsh" --set Database
check "help on a topic, and none on another" 0 "The editor *" run "$kelsh" --help editor
printf 'echo Grüße\n' >grüße.txt
check "letters of any language" 0 $'Grüße\n-x=ÿ |' run "$kelsh" --no-connect -c 'run grüße.txt' -c 'echo -x=ÿ |'
check "options behind the file are the file's" 1 "kelsh: a file of commands takes no arguments" \
    run "$kelsh" --no-connect grüße.txt --stop
check "a back-end that is not there" 1 "kelsh: not connected: *" \
    run "$kelsh" --os 77 -c 'LISTF'
check "properties" 0 $'Database: *LockWait \\[0\\]: *' run "$kelsh" --os 1 --properties
check "a file of commands in a pipe" 0 \
    $'File "COUNTRIES" created.\n  1  Switzerland\n  2  Bern|Zürich~x|a\\\\|b\nZürich' \
    account <<'END'
CREATE-FILE COUNTRIES
new COUNTRIES CH
set 1 Switzerland
set 2 Bern|Zürich~x|a\|b
write
# read again
read COUNTRIES CH
show 2.2.1
END
check "a record that is there already" 1 'kelsh: there is a record "CH"*' account -c 'new COUNTRIES CH'
check "failures go on" 1 $'*NOSUCH*after\nkelsh: *10301*' \
    account -c 'NOSUCH VERB' -c 'echo after' -c 'read NOFILE X'
check "failures stop" 1 "*NOSUCH*" account --stop -c 'NOSUCH VERB' -c 'echo after'
check "the line editor" 0 $'1  Switzerland\n2  Bern*2  Basel|Zürich*  1  Suisse\n  2  Basel|*' \
    account <<'END'
edit COUNTRIES CH
p
1
r Suisse
2
c/Bern/Basel/
f
show
END

cat >data.csv <<'END'
@ID,1,2
AT,Österreich,"Wien|Graz"
DE,"A ""q"", b",a~b
ÿ,û,þ|ý
END
check "a missing import" 1 "kelsh: none.csv cannot be read" account -c 'import COUNTRIES none.csv'
check "import and export" 0 \
    $'3 records imported into COUNTRIES\n4 records exported to out.json\n4 records exported to out.csv' \
    account -c 'import COUNTRIES data.csv' -c 'export COUNTRIES out.json' -c 'export COUNTRIES out.csv @ID 1 2'
check "round trip" 0 $'File "BACK" created.\n4 records imported into BACK\n4 records exported to back.csv\n@ID,1,2\n*' \
    account -c 'CREATE-FILE BACK' -c 'import BACK out.json' -c 'export BACK back.csv' \
    -c 'export BACK - as csv'
check "the same data" 0 "" cmp out.csv back.csv
check "a part of the file" 0 $'@ID\nAT' account -c 'export BACK - @ID as csv where WITH @ID = "AT"'
check "keeping what is there" 0 "0 records imported into BACK, 3 left out" \
    account -c 'import BACK data.csv keep'

# Another session has a record locked: nothing comes in, not even what stands before it.
mkfifo holding
account <holding >held.txt 2>&1 &
holder=$!
exec 3>holding
printf 'read COUNTRIES CH lock\n' >&3
for ((tries = 0; tries < 300; tries++)); do
    grep -q Suisse held.txt && break
    sleep 0.1
done
printf '@ID,1\nNEW,new\nCH,Svizzera\n' >locked.csv
check "importing what is locked" 1 'kelsh: locked.csv: record "CH" is locked by *nothing was imported*' \
    account -c 'import COUNTRIES locked.csv'
check "nothing by halves" 0 "0 record(s) counted*" account -c "COUNT COUNTRIES 'NEW'"
check "insisting" 0 "2 records imported into COUNTRIES" account -c 'import COUNTRIES locked.csv override'
exec 3>&-
wait "$holder"

cat >define.txt <<'END'
CREATE-FILE ORDERS
new "DICT ORDERS" TOTAL
set 1 D
set 2 1
set 3 MD2
write
new "DICT ORDERS" TWICE
set 1 I
set 2 TOTAL*2
set 3 MD2
write
END
printf '@ID,TOTAL\n1,12.50\n2,7.25|1\n3,abc\n' >orders.csv
check "named and computed columns" 1 \
    $'File "ORDERS" created.\nkelsh: left out: Line 4, column "TOTAL": *\n2 records*\n@ID,1,TWICE\n1,1250,25.00\n2,725|100,14.50|2.00\nkelsh: -: *' \
    account -c 'run define.txt' -c 'import ORDERS orders.csv skip' \
    -c 'export ORDERS - @ID 1 TWICE as csv' -c 'export ORDERS - NONE as csv'

cat >events.vbs <<'END'
Option Explicit
Sub session_PropertyValue(name, value)
    If name = "Database" Then value = Arguments(0)
End Sub
Sub session_Connection()
    Echo "connected", session.IsConnected
End Sub
Sub Country_ReadValid(recNo, isValid, errorFlag)
    Echo "read", recNo, isValid, errorFlag
End Sub
Sub Country_Refresh(amc, vmc, smc)
    Echo "refresh " & amc & "," & vmc
    If amc = "3" Then Err.Raise 1000, "me", "from an event"
End Sub
session.Connect
kel.SetKeyFieldSession "Country", session.SessionName
tools.mvRead "Country", "AT", "COUNTRIES"
tools.Replace "Country", "x", 2, 2
tools.Replace "Country", "y", 3
Echo tools.Extract("Country", 2, 2)
tools.NoSuchMember
END
check "events of a script, and its errors" 1 \
    $'connected True\nread AT True 0\nrefresh 2,2\nrefresh 3,0\nevents.vbs: *from an event*x\nevents.vbs: line 21: *' \
    run "$kelsh" --os 1 --no-connect events.vbs a.account
echo 'session.CommonValue("left") = WScript' >leaves.vbs
echo 'session.CommonValue("left").Echo "x"' >takes.vbs
check "an object that outlives its script" 1 "takes.vbs: line 1: The object's script has ended.*" \
    run "$kelsh" --no-connect -c 'script leaves.vbs' -c 'script takes.vbs'
echo 'WScript.Quit(7);' >quit.js
check "a script's own exit code" 7 "" account quit.js
echo 'If Then' >wrong.vbs
check "a script that is none" 1 "wrong.vbs: *" account wrong.vbs

check "example: VBScript" 0 $'*read CH: 0\nchanged 1,0,0\nchanged 2,1,0\n*Switzerland: * cities' \
    run "$kelsh" --no-connect "$examples/vbscript/country.vbs" a.account
check "example: JScript" 0 $'*file COUNTRIES\n*CH Switzerland' \
    run "$kelsh" --no-connect "$examples/jscript/list.js" a.account
check "example: C++" 0 "CH is Helvetia now" run "$client" a.account
check "example: back-end" 1 \
    $'File created.\n*record "2" in F\n  1  one\n3 records imported into F\n@ID\n1\nAT\nDE\nÿ\nThe only *' \
    run "$kelsh" --os 20 --set Name=M -c 'CREATE-FILE F' -c 'new F 1' -c 'set 1 one' -c 'write' \
    -c 'read F 2' -c 'read F 1' -c 'import F data.csv' -c 'export F - @ID as csv' -c 'BAD'

echo "$passed passed, $failed failed"
((failed == 0))
