// Verbs: what they answer, what they leave behind, what they refuse.
#include "tests/multivalue/orders_account.h"

namespace kel::command {
namespace {

using CommandTest = OrdersAccount;

// What a session says, one sentence after the other.
TEST_F(CommandTest, CommandsAnswer) {
    const Said dialog[] = {
        {"LIST ORDERS WITH CUSTOMER = 'SMITH' CUSTOMER PART QTY PRICE TOTAL VALUE HDR.SUP",
         "ORDERS.... Customer.. Part.. .Qty ...Price ....Value|"
         "1          SMITH      NUT       5     1.00      7.50|"
         "                      BOLT     10     0.25|"
         "3          SMITH      WIRE      1    10.00     11.95|"
         "                      NUT       2     0.90|"
         "                      CLIP      3     0.05|"
         "TOTAL                                          19.45|"
         "2 record(s) listed"},
        {"SORT ORDERS BY CUSTOMER BREAK-ON CUSTOMER TOTAL QTY ID.SUP DET.SUP COL.SUP "
         "HEADING \"Sold 'D' 'T'\" COUNT.SUP",
         "Sold 07 JAN 2020 01:00:00  07 JAN 2020|              0||BROWN         7||"
         "SMITH        21||adams        20||TOTAL        48"},
        {"SORT ORDERS BY CUSTOMER BREAK-ON CUSTOMER \"'vp'\" TOTAL QTY ID.SUP DET.SUP COL.SUP "
         "HEADING \"'F' 'P'\" FOOTING \"end 'P'\" COUNT.SUP",
         "ORDERS 1|              0||end 1|ORDERS 2|BROWN         7||end 2|ORDERS 3|"
         "SMITH        21||end 3|ORDERS 4|adams        20||TOTAL        48|end 4"},
        {"LIST ORDERS '1' '7' WHEN PART = 'BOLT' LINES CUSTOMER FMT '3L' COL.HDG 'C' CONV 'MCL' "
         "HDR.SUP DBL.SPC",
         "ORDERS.... Part.. .Qty C..||1          BOLT     10 smi|                       th|"
         "\"7\" is not in file \"ORDERS\".|1 record(s) listed"},
        {"LIST ORDERS '2' VERT HDR.SUP",
         "ORDERS     2|Customer   BROWN|Part       NUT|Qty           7|1 record(s) listed"},
        {"LIST ORDERS AVERAGE QTY MAX PRICE MIN REF ENUM PART ID.SUP DET.SUP HDR.SUP COL.SUP",
         "   6    10.00  1.5 7|5 record(s) listed"},
        {"COUNT ORDERS WITH PART = 'NUT'", "3 record(s) counted"},
        {"SUM ORDERS QTY VALUE", "TOTAL QTY = 48|TOTAL VALUE = 32.10|5 record(s) summed"},
        {"SELECT ORDERS WITH QTY > 5", "3 record(s) selected to list 0"},
        {"SAVE.LIST busy", "3 record(s) saved to list \"busy\""},
        {"SAVE-LIST busy", "There is no active list 0."},
        {"GET-LIST busy TO 2", "3 record(s) selected to list 2"},
        {"COUNT ORDERS FROM 2 WITH CUSTOMER", "3 record(s) counted"},
        {"SELECT ORDERS WITH QTY > 500", "0 record(s) selected to list 0"},
        {"COUNT ORDERS", "0 record(s) counted"},
        {"COUNT ORDERS", "5 record(s) counted"},
        {"QSELECT &SAVEDLISTS& busy", "3 record(s) selected to list 0"},
        {"CT ORDERS",
         "1|001 SMITH|002 1000|003 NUT]BOLT|004 5]10|005 100]25|006 9|"
         "2|001 BROWN|002 2000|003 NUT|004 7|005 95|006 10|"
         "5|001 adams|002 1500|003 BOLT|004 20|005 30|006 1.50"},
        {"DELETE-LIST busy", "List \"busy\" deleted"},
        {"GET-LIST busy", "\"busy\" is not a saved list."},
        {"CREATE-FILE OLD", "File \"OLD\" created."},
        {"COPY FROM ORDERS TO OLD 1 2,two 9",
         "\"9\" is not in file \"ORDERS\".|2 record(s) copied"},
        {"COPY FROM ORDERS TO OLD 1 DELETING",
         "\"1\" is in file \"OLD\" already; OVERWRITING replaces it.|0 record(s) copied"},
        {"DELETE OLD 1 one", "\"one\" is not in file \"OLD\".|1 record(s) deleted"},
        {"LISTF",
         "File                            Records|&SAVEDLISTS&                    0|"
         "OLD                             1|ORDERS                          5|"
         "3 file(s) listed"},
        {"CLEAR-FILE OLD", "File \"OLD\" cleared."},
        {"DELETE-FILE OLD", "File \"OLD\" deleted."},
        {"COUNT DICT OLD", "There is no file \"DICT OLD\"."},
        {"CREATE-FILE ORDERS", "There is a file \"ORDERS\" already."},
        {"DATE", "07 JAN 2020  01:00:00"},
        {"OPTION QUERY.NO.CASE", ""},
        {"COUNT ORDERS WITH CUSTOMER = 'ADAMS'", "1 record(s) counted"},
        {"HELP CT", "CT {DICT} file id ... or ALL: shows records as stored"},
        {"FROBNICATE", "\"FROBNICATE\" is not a verb; HELP lists those there are."},
        {"   ", ""},
    };
    for (const Said& c : dialog) {
        EXPECT_EQ(Run(c.sentence), c.answer) << c.sentence;
    }
    EXPECT_EQ(session_.Execute(u"CREATE-FILE ORDERS").failure, ErrorKind::kFileExists);
    EXPECT_EQ(session_.Execute(u"SELECT ORDERS").codes, u"404");
}

// One sentence after the other: what each leaves shows in the next.
TEST_F(CommandTest, LeavesWhatWasAskedFor) {
    Run("CREATE-FILE OLD");
    const Said dialog[] = {
        // Copying onto itself deletes nothing.
        {"COPY FROM ORDERS 1 OVERWRITING DELETING", "1 record(s) copied"},
        {"COUNT ORDERS", "5 record(s) counted"},
        {"COPY ORDERS TO ORDERS 1,1 OVERWRITING DELETING", "1 record(s) copied"},
        {"COUNT ORDERS", "5 record(s) counted"},
        {"COPY FROM ORDERS 1,one DELETING", "1 record(s) copied"},
        {"CT ORDERS 1", "\"1\" is not in file \"ORDERS\"."},
        {"COPY FROM ORDERS one,1 DELETING", "1 record(s) copied"},
        {"COPY FROM ORDERS TO OLD ALL", "5 record(s) copied"},
        {"COPY FROM OLD TO ORDERS 2 DELETING OVERWRITING", "1 record(s) copied"},
        {"COUNT OLD", "4 record(s) counted"},
        {"COPY ORDERS TO DICT OLD 4", "1 record(s) copied"},
        {"CT DICT OLD 4", "4|001 |002 500|003 |004 |005 |006 "},
        {"COPY ORDERS TO OLD 1,", "\"\" cannot be an id."},
        {"COPY", "\"COPY\" needs the name of a file."},
        {"COPY ORDERS", "\"COPY ORDERS\" names no record, and no list is active."},
        {"DELETE OLD ALL", "4 record(s) deleted"},
        // Saved lists keep the values that exploded entries stand for.
        {"SELECT ORDERS BY-EXP QTY WITH QTY > 9", "3 record(s) selected to list 0"},
        {"SAVE-LIST exp", "3 record(s) saved to list \"exp\""},
        {"CT &SAVEDLISTS& exp", "exp|001 1]1]0|002 1]2]0|003 5]1]0"},
        {"GET-LIST exp", "3 record(s) selected to list 0"},
        {"SAVE-LIST again", "3 record(s) saved to list \"again\""},
        {"CT &SAVEDLISTS& again", "again|001 1]1]0|002 1]2]0|003 5]1]0"},
        {"SELECT ORDERS TO 3", "5 record(s) selected to list 3"},
        {"COUNT ORDERS", "5 record(s) counted"},
        {"CLEARSELECT 3", ""},
        {"COUNT ORDERS FROM 3", "There is no active list 3."},
        {"SELECT ORDERS TO 10", "5 record(s) selected to list 10"},
        {"CLEARSELECT", ""},
        {"SAVE-LIST ten FROM 10", "5 record(s) saved to list \"ten\""},
        {"SELECT ORDERS TO 4", "5 record(s) selected to list 4"},
        {"CLEARSELECT ALL", ""},
        {"SAVE-LIST x FROM 4", "There is no active list 4."},
        {"CLEARSELECT 11", "\"11\" is not the number of a list, 0 to 10."},
        {"CLEARSELECT -1", "\"-1\" is not the number of a list, 0 to 10."},
        {"GET-LIST ten 5", "\"5\" stands where it means nothing."},
        {"QSELECT ORDERS 1 FIELD 3", "2 record(s) selected to list 0"},
        {"SAVE-LIST parts", "2 record(s) saved to list \"parts\""},
        {"CT &SAVEDLISTS& parts", "parts|001 NUT|002 BOLT"},
        {"QSELECT ORDERS 2", "6 record(s) selected to list 0"},
        {"CLEARSELECT 0", ""},
        {"QSELECT ORDERS 2 FIELD 0", "\"0\" is not the number of an attribute."},
        {"QSELECT ORDERS 99", "\"99\" is not in the file."},
        {"QSELECT ORDERS", "There is no active list 0."},
        {"COUNT ORDERS REQUIRE.SELECT", "There is no active list 0."},
        // Files and their dictionaries.
        {"CREATE-FILE DATA ONLY1", "File \"ONLY1\" created."},
        {"COUNT DICT ONLY1", "There is no file \"DICT ONLY1\"."},
        {"CREATE-FILE DICT ONLY1", "Dictionary of \"ONLY1\" created."},
        {"CT DICT ONLY1 @ID", "@ID|001 D|002 0|003 |004 ONLY1|005 10L|006 S"},
        {"DELETE-FILE DATA ONLY1", "File \"ONLY1\" deleted."},
        {"COUNT DICT ONLY1", "1 record(s) counted"},
        {"CLEAR-FILE DICT ONLY1", "Dictionary of \"ONLY1\" cleared."},
        {"COUNT DICT ONLY1", "0 record(s) counted"},
        {"DELETE-FILE DICT ONLY1", "Dictionary of \"ONLY1\" deleted."},
        {"CLEAR-FILE ORDERS", "File \"ORDERS\" cleared."},
        {"COUNT ORDERS", "0 record(s) counted"},
        {"COUNT DICT ORDERS", "12 record(s) counted"},
        // The rest.
        {"TIME", "01:00:00  07 JAN 2020"},
        {"TIME now", "\"now\" stands where it means nothing."},
        {"OPTION", "\"OPTION\" needs the name of an option."},
        {"OPTION COLOUR", "\"COLOUR\" is not an option."},
        {"HELP COLOUR", "\"COLOUR\" is not a verb."},
        {"create.file lower", "File \"lower\" created."},
        {"CHECK-ACCOUNT", "This account is kept nowhere."},
        {"CREATE-INDEX ORDERS COLOUR", "\"COLOUR\" is not a field of ORDERS."},
        {"CREATE-INDEX ORDERS REF", "Index \"REF\" of file \"ORDERS\" created."},
        {"CREATE-INDEX ORDERS REF", "The file \"ORDERS\" has an index \"REF\" already."},
        {"LIST-INDEX ORDERS", "REF|1 index(es) listed"},
        {"DELETE-INDEX ORDERS ref", "Index \"ref\" of file \"ORDERS\" deleted."},
    };
    for (const Said& c : dialog) {
        EXPECT_EQ(Run(c.sentence), c.answer) << c.sentence;
    }
    // What a sentence selects by itself, wherever its verb stands, and options switched off again.
    EXPECT_EQ(Ids("\tGET-LIST ten"), "1 2 3 4 5");
    EXPECT_EQ(Ids("QSELECT &SAVEDLISTS& parts"), "NUT BOLT");
    Run("CREATE-FILE CASE");
    Write("CASE", "1", "Big");
    Run("OPTION QUERY.NO.CASE");
    EXPECT_EQ(Ids("SELECT CASE WITH F1 = 'BIG'"), "1");
    Run("OPTION QUERY.NO.CASE OFF");
    EXPECT_EQ(Ids("SELECT CASE WITH F1 = 'BIG'"), "");
    // Subvalues are kept, too; an index that the dictionary has outgrown is made anew.
    Write("ORDERS", "6", "^^^1\\2^^9");
    Run("SELECT ORDERS BY-EXP QTY");
    Run("SAVE-LIST sub");
    EXPECT_EQ(Run("CT &SAVEDLISTS& sub"), "sub|001 6]1]1|002 6]1]2");
    Run("CREATE-INDEX ORDERS REF");
    Write("DICT ORDERS", "REF", "D^5^^Ref^4R^S");
    EXPECT_EQ(Run("CREATE-INDEX ORDERS REF"), "Index \"REF\" of file \"ORDERS\" created.");
    EXPECT_EQ(Run("DELETE-INDEX ORDERS ALL"), "Index \"REF\" of file \"ORDERS\" deleted.");
    store_->Lock(*store_->FindFile(u"OLD"), u"7", 0);
    EXPECT_NE(Run("LIST-READU").find("|OLD  7  "), std::string::npos);
    const char* codes[][2] = {{"SELECT DICT OLD", "404"},
                              {"SAVE-LIST dict", "422"},
                              {"LIST DICT OLD", "405"},
                              {"COUNT DICT OLD", "407"},
                              {"SELECT OLD", "401"},
                              {"FROBNICATE", "3"}};
    for (const auto& [sentence, code] : codes) {
        const std::string text = sentence;
        EXPECT_EQ(Drawn(session_.Execute(Text(text.begin(), text.end())).codes), code) << sentence;
    }
}

}  // namespace
}  // namespace kel::command
