// The texts.
#include "apps/kelsh/help.h"

#include <algorithm>
#include <iterator>

#include "apps/kelsh/editor.h"

namespace kel::kelsh {
namespace {

constexpr const wchar_t* kProgram =
    LR"(kelsh: a shell for multivalue databases

  kelsh                                  asks which database, then takes commands
  kelsh --os 1 --set Database=FILE       opens the account FILE, made if missing
  kelsh --os 1 --set Database=FILE -c "LIST COUNTRIES"
  kelsh --os 1 --set Database=FILE COMMANDS.txt
  kelsh --os 1 --set Database=FILE SCRIPT.vbs [ARGUMENT...]

  --os N              number of the back-end; 1 is the embedded database
  --set NAME=VALUE    a connection property; again for each
  --session NAME      name of the session (Main)
  --no-connect        leave connecting to the script or to the command "connect"
  -c, --command LINE  do this line and end; again for each
  --stop              end at the first failure instead of going on
  --no-pages          never wait at the end of a page
  --back-ends         list the back-ends of this machine
  --properties        list the connection properties of the back-end --os
  --version           show the component's version
  --help [TOPIC]      this text, or: commands, pipes, scripts, editor, a command

Five minutes:

  > kelsh --os 1 --set Database=first.account
  Main> CREATE-FILE COUNTRIES              sentences go to the database
  Main> new COUNTRIES CH                   a new record, locked until it is written
  Main> set 1 Switzerland                  attribute 1
  Main> set 2 Bern|Zürich|Basel            three values in attribute 2
  Main> write
  Main> show 2.2
  Zürich
  Main> export COUNTRIES countries.csv
  Main> quit

Exit codes: 0 good, 1 a sentence, command or script failed, 2 the command line makes no sense.)";

constexpr const wchar_t* kCommands =
    LR"(Lines that begin with none of these words, in lower case, are sentences for the
database: DELETE is one, delete is not. What stands behind "!" always is one.
"help WORD" tells more; HELP lists what the embedded database can do.

  read FILE ID [lock]        read a record and show it
  new FILE ID                begin a record that is not there yet
  show [POSITION]            show it again, or an element of it
  set POSITION TEXT          replace an element
  insert POSITION TEXT       insert one before it
  remove POSITION            take one out
  edit [FILE ID]             the line editor
  write [ID] [keep]          write the record; keep its lock
  release                    give up its lock
  delete [FILE ID]           delete it
  locks                      who has what locked
  import FILE DATA           records from CSV or JSON
  export FILE DATA           and back
  run FILE                   do the lines of a file
  script FILE [ARGUMENT...]  run VBScript or JScript
  connect [NAME=VALUE...]    connect, with these properties
  disconnect                 end the connection, and all locks with it
  properties [NUMBER]        what a back-end asks for
  history                    the lines typed so far
  echo TEXT                  print a line
  quit                       end

A POSITION is ATTRIBUTE, ATTRIBUTE.VALUE or ATTRIBUTE.VALUE.SUBVALUE, each from
1. In TEXT values are parted by | and subvalues by ~; a backslash before one
makes it plain text. Words with spaces stand in double quotes. Lines that begin
with # are left out.)";

constexpr const wchar_t* kPipes =
    LR"(Without a console kelsh shows no prompt and no pages. It reads lines from its
input and writes UTF-8: results to the output, and what is said to people
(failures, "new record") to the error output. It goes on after a failure, unless
--stop is given, and its exit code is then 1.

A sentence has failed when one of its message numbers is below 100 (the sentence
is wrong) or from 10000 on or negative (the database refused), or when the
back-end raised an error. "read" of a missing record is a failure, so that a
file of commands can tell.

  echo LIST COUNTRIES | kelsh --os 1 --set Database=first.account
  kelsh --os 1 --set Database=first.account -c "export COUNTRIES - as csv")";

constexpr const wchar_t* kScripts =
    LR"(A script (.vbs: VBScript, .js: JScript) finds these objects:

  kel       the root object        session   the shell's session
  tools     its kelTools           WScript   the four below, as other hosts do

  Echo TEXT...                   prints a line
  Quit [CODE]                    ends the script with an exit code (a script
                                 under On Error Resume Next goes on)
  ConnectObject OBJECT, PREFIX   delivers the events of any object to procedures
                                 PREFIX_Event
  Arguments(0), Arguments.Count  what stood behind the script's name

Procedures hear events by their names, without any call: those of the session as
session_Connection, session_PropertyValue ..., those of a key field by its name:

  Sub Country_Refresh(amc, vmc, smc)
      Echo "changed: " & amc & "," & vmc & "," & smc
  End Sub
  Sub session_PropertyValue(name, value)
      If name = "User" Then value = "Anna"
  End Sub

session_PropertyValue is called after --set has answered and may answer
otherwise; begin with --no-connect and call session.Connect to hear it the first
time. JScript has no arguments by reference: there the function returns the
answer. An error shows file, line and text and makes the exit code 1; after an
error in an event procedure the script goes on.)";

constexpr const wchar_t* kTransfer =
    LR"(import FILE DATA [keep|merge] [skip] [override] [as FORMAT]
export FILE DATA [COLUMN...] [as FORMAT] [where SELECTION]

DATA is a file; its ending, or FORMAT, says what it holds: csv, json (one array)
or jsonl (an object on each line). "export FILE -" writes to the output. Data is
UTF-8; CSV begins with the names of its columns. Columns are @ID, numbers of
attributes, and names in the file's dictionary, whose values are converted on
the way. Without columns an export has @ID and every attribute; in JSON each record comes
back by import exactly as it was. Values in a cell
are parted by |, subvalues by ~.

  keep     leave records that are there already as they are
  merge    change the imported columns only
  skip     leave out records that cannot be imported, instead of ending
  override import records, too, that another session has locked; without it
           nothing is imported then
  where    what a SELECT says behind the file's name:
           export COUNTRIES big.csv @ID NAME where WITH AREA > "1000" BY NAME)";

constexpr const wchar_t* kConnect =
    LR"(connect [NAME=VALUE...]

Connects the session with the properties given so far, by --set or here. On a
console kelsh asks for the back-end and its properties when nothing was given.
"properties" lists what a back-end asks for, with its defaults.)";

struct Topic {
    const wchar_t* names;  // parted by spaces
    const wchar_t* text;
};

const Topic kTopics[] = {
    {L"commands read new show set insert remove write delete release locks run history echo quit",
     kCommands},
    {L"pipes", kPipes},
    {L"scripts script", kScripts},
    {L"import export", kTransfer},
    {L"connect disconnect properties", kConnect},
    {L"editor edit", kEditorHelp},
};

}  // namespace

binding::Text HelpOn(const binding::Text& topic) {
    if (topic.empty()) {
        return kProgram;
    }
    const binding::Text wanted = L" " + binding::Lower(topic) + L" ";
    const auto found = std::find_if(std::begin(kTopics), std::end(kTopics), [&](const Topic& one) {
        return (L" " + binding::Text(one.names) + L" ").find(wanted) != binding::Text::npos;
    });
    return found == std::end(kTopics) ? binding::Text() : binding::Text(found->text);
}

}  // namespace kel::kelsh
