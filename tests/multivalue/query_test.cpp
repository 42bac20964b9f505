// Sentences: what they select, list and refuse. Files are made in memory.
#include <gtest/gtest.h>

#include "tests/multivalue/orders_account.h"

namespace kel::command {
namespace {

using QueryTest = OrdersAccount;

const Said kSaid[] = {
    {"select orders", "1 2 3 4 5"},
    {"SELECT ORDERS WITH CUSTOMER = SMITH", "1 3"},
    {"SELECT ORDERS WITH CUSTOMER NE 'SMITH' 'BROWN'", "4 5"},
    {"SELECT ORDERS WITH DATE BETWEEN '1/1/1971' '12/31/1973'", "2 5"},
    {"SELECT ORDERS WITHOUT DATE", "3"},
    {"SELECT ORDERS WITH VALUE >= 15 AND WITH PART = 'NUT' OR WITH NO PART", "4"},
    {"SELECT ORDERS WITH (PART = 'NUT' OR QTY > 15) AND NOT = 'x'", "1 2 3 5"},
    {"SELECT ORDERS WITH EVERY QTY > 4", "1 2 5"},
    {"SELECT ORDERS WITH QTY > PRICE", ""},
    {"SELECT ORDERS WITH REF = 1.5", "5"},
    {"SELECT ORDERS WITH DATE LIKE '.../1972'", "5"},
    {"SELECT ORDERS WHEN PART = 'NUT' BY-EXP QTY", "3@2 1@1 2@1"},
    {"SELECT ORDERS BY CUSTOMER", "4 2 3 1 5"},
    {"SSELECT ORDERS BY-DSND CUSTOMER", "5 1 3 2 4"},
    {"SELECT ORDERS BY REF", "4 5 1 3 2"},
    {"SELECT ORDERS BY EVAL 'LEN(CUSTOMER)'", "4 5 3 2 1"},
    {"SELECT ORDERS SAVING UNIQUE PART NO.NULLS", "NUT BOLT WIRE CLIP"},
    {"SSELECT ORDERS SAMPLE 2", "1 2"},
    {"SELECT ORDERS '3' '9' '1'", "3 1"},
    {"SELECT ORDERS = '2'", "2"},
    {"SELECT THE ORDERS FILE WITH THE CUSTOMER EQ \"SMITH\"", "1 3"},
    {"SELECT DICT ORDERS WITH F1 = 'PH'", "@ LINES RING"},
    // Every refusal names the word at fault.
    {"SELECT", "\"SELECT\" needs the name of a file behind it."},
    {"SELECT NOWHERE", "There is no file \"NOWHERE\"."},
    {"SELECT ORDERS WITH COLOUR = 'x'", "\"COLOUR\" is not a field of ORDERS."},
    {"SELECT ORDERS COLOUR", "\"COLOUR\" is not a field of ORDERS."},
    {"SELECT ORDERS BY", "\"BY\" needs a field behind it."},
    {"SELECT ORDERS WITH QTY >", "\"QTY\" is compared with nothing."},
    {"SELECT ORDERS WITH QTY => => 4",
     "\"=>\" stands where the comparison needs a constant or a field."},
    {"SELECT ORDERS WITH QTY ## 4", "\"##\" is not a comparison."},
    {"SELECT ORDERS WITH QTY BETWEEN 4 AND 5",
     "\"AND\" stands where BETWEEN needs its two constants."},
    {"SELECT ORDERS WITH (QTY > 4", "\"(\" has no closing parenthesis."},
    {"SELECT ORDERS WITH QTY > '4", "\"'4\" has no closing quote."},
    {"SELECT ORDERS OR QTY > 4", "\"OR\" joins no condition."},
    {"SELECT ORDERS FMT '3R'", "\"FMT\" needs a column in front of it."},
    {"SELECT ORDERS TO 11", "\"TO\" takes the number of a list, 0 to 10."},
    {"SELECT ORDERS FROM 3", "There is no active list 3."},
    {"SELECT ORDERS RING", "\"RING\" is a phrase that holds itself."},
    {"LIST ORDERS", "\"LIST\" is not a verb that selects records."},
};

TEST_F(QueryTest, SelectsAndRefuses) {
    for (const Said& c : kSaid) {
        EXPECT_EQ(Ids(c.sentence), c.answer) << c.sentence;
    }
}

TEST_F(QueryTest, FamiliesDifferInJointsAndWildcards) {
    const char* joined = "SELECT ORDERS WITH CUSTOMER = 'SMITH' WITH QTY > 15";
    EXPECT_EQ(Ids(joined), "");
    EXPECT_EQ(Ids("SELECT ORDERS WITH CUSTOMER = 'SM]'"), "");
    environment_.SetFamily(Family::kR83);
    EXPECT_EQ(Ids(joined), "1 3 5");
    EXPECT_EQ(Ids("SELECT ORDERS WITH CUSTOMER 'SM]' '[W^]'"), "1 2 3");
}

// What each comparison lets through, of five customers, their dates and references.
TEST_F(QueryTest, ComparesAsTheFieldSays) {
    const Said cases[] = {
        {"CUSTOMER = 'SMITH'", "1 3"},
        {"CUSTOMER EQ 'SMITH' 'BROWN'", "1 2 3"},
        {"CUSTOMER # 'SMITH' 'BROWN'", "4 5"},
        {"CUSTOMER > 'BROWN'", "1 3 5"},
        {"CUSTOMER GE 'BROWN'", "1 2 3 5"},
        {"CUSTOMER < 'SMITH'", "2 4"},
        {"CUSTOMER <= 'SMITH'", "1 2 3 4"},
        {"CUSTOMER AFTER 'SMITH'", "5"},
        {"CUSTOMER BEFORE 'BROWN'", "4"},
        {"CUSTOMER BETWEEN 'BROWN' 'SMITH'", "1 2 3"},
        {"CUSTOMER = ''", "4"},
        {"NO CUSTOMER", "4"},
        {"NO CUSTOMER = 'SMITH'", "2 4 5"},
        {"CUSTOMER NOT = 'SMITH'", "2 4 5"},
        {"CUSTOMER NOT > 'BROWN'", "2 4"},
        {"CUSTOMER NOT < 'SMITH'", "1 3 5"},
        {"CUSTOMER NOT >= 'SMITH'", "2 4"},
        {"CUSTOMER NOT <= 'SMITH'", "5"},
        {"CUSTOMER LIKE 'S...' '0A'", "1 2 3 4 5"},
        {"CUSTOMER LIKE '...M...'", "1 3"},
        {"CUSTOMER UNLIKE 'S...' 'B...'", "4 5"},
        {"CUSTOMER NOT LIKE 'S...'", "2 4 5"},
        {"CUSTOMER SAID 'SMYTHE'", "1 3"},
        {"CUSTOMER ~ 'Braun'", "2"},
        {"REF > 9", "2 3"},  // numbers by size, other text of its field the shorter first
        {"REF = '09.0'", "1"},
        {"REF < 9", "4 5"},  // an empty value comes before every number
        {"REF > 'AA'", "5"},
        {"REF < 0", "4"},
        {"REF = 0", ""},
        {"REF # 0", "1 2 3 4 5"},
        {"REF BETWEEN 1 9", "1 5"},
        {"QTY = 5", "1"},
        {"QTY # 5", "1 2 3 4 5"},
        {"NO QTY = 5", "2 3 4 5"},
        {"EVERY QTY # 5", "2 3 4 5"},
        {"EVERY QTY > 4", "1 2 5"},
        {"EVERY QTY = 5 10", "1"},
        {"QTY > 4 AND < 8", "1 2"},
        {"PRICE > '0.90'", "1 2 3"},
        {"PRICE = 1 '10.00'", "1 3"},
        {"DATE > '12/31/1972'", "2"},
        {"DATE = '09/26/1970'", "1"},
        {"DATE = 'nonsense'", ""},
        {"DATE > 'nonsense'", "1 2 4 5"},
        {"VALUE >= 11.95", "3"},
        {"QTY < PRICE", "1 2 3 5"},
        {"QTY > PRICE", ""},
        {"CUSTOMER = PART", "4"},
        {"@ID = '2' '4'", "2 4"},
        {"= '2'", "2"},
        {"CUSTOMER = 'SMITH' OR DATE < '1/1/1970'", "1 3 4"},
        {"CUSTOMER = 'SMITH' OR CUSTOMER = 'BROWN' AND QTY > 9", "1"},
        {"CUSTOMER = 'SMITH' OR (CUSTOMER = 'BROWN' AND QTY > 9)", "1 3"},
        {"CUSTOMER = 'SMITH' WITH QTY > 4", "1"},
        {"CUSTOMER = 'SMITH' WITHOUT DATE", "3"},
        {"CUSTOMER = '[MITH'", ""},
    };
    for (const Said& c : cases) {
        EXPECT_EQ(Ids(std::string("SELECT ORDERS WITH ") + c.sentence), c.answer) << c.sentence;
    }
    // Values are compared in pairs, and subvalues are values.
    Write("ORDERS", "7", "P^^N]N^1]30^20]40^");
    Write("ORDERS", "8", "S^^N^1\\9^^");
    EXPECT_EQ(Ids("SELECT ORDERS '7' WITH EVERY QTY < PRICE"), "7");
    EXPECT_EQ(Ids("SELECT ORDERS '8' WITH QTY = 9"), "8");
    Run("DELETE ORDERS 7 8");
    session_.SetOption(u"QUERY.PRIORITY.AND", true);
    EXPECT_EQ(Ids("SELECT ORDERS WITH CUSTOMER = 'SMITH' OR CUSTOMER = 'BROWN' AND QTY > 9"),
              "1 3");
    EXPECT_EQ(Ids("SELECT ORDERS WITH QTY = 7 AND REF = 10 OR QTY = 1 AND REF = 'A' OR QTY = 20"),
              "2 3 5");
    session_.SetOption(u"QUERY.PRIORITY.AND", false);
    session_.SetOption(u"QUERY.NO.CASE", true);
    EXPECT_EQ(Ids("SELECT ORDERS WITH CUSTOMER = 'Adams' 'smith'"), "1 3 5");
    session_.SetOption(u"QUERY.NO.CASE", false);
    session_.SetOption(u"R83.WILDCARD", true);
    for (const Said& c : std::initializer_list<Said>{{"= '[MITH'", "1 3"},
                                                     {"= 'SM]'", "1 3"},
                                                     {"= '[MIT]'", "1 3"},
                                                     {"= '[SMITH]'", "1 3"},
                                                     {"= '[ROW]' 'a]'", "2 5"},
                                                     {"# '[MIT]'", "2 4 5"},
                                                     {"= 'SM^TH'", "1 3"},
                                                     {"= '^ROWN'", "2"},
                                                     {"= '^^^'", ""},
                                                     {"= '[^DA]'", ""},
                                                     {"= '[^da^^'", "5"},
                                                     {"= ']'", "1 2 3 4 5"},
                                                     {"= '[SMITHX'", ""}}) {
        EXPECT_EQ(Ids(std::string("SELECT ORDERS WITH CUSTOMER ") + c.sentence), c.answer)
            << c.sentence;
    }
}

// Letters that sound alike, by the groups of Russell and Odell.
TEST_F(QueryTest, KnowsWhichLettersSoundAlike) {
    Run("CREATE-FILE L");
    Write("DICT L", "NAME", "D^1^^^9L^S");
    for (char letter = 'A'; letter <= 'Z'; ++letter) {
        Write("L", std::string(1, letter).c_str(), (std::string("O") + letter + "o").c_str());
    }
    const char* groups[] = {
        "A E H I O U W Y", "B F P V", "C G J K Q S X Z", "D T", "L", "M N", "R"};
    for (const char* group : groups) {
        const std::string like = std::string("'O") + group[0] + "O'";
        EXPECT_EQ(Ids("SELECT L WITH NAME SAID " + like), group);
    }
    Write("L", "1", "Robert");
    Write("L", "2", "Rupertson");
    Write("L", "3", "Rabbit");
    EXPECT_EQ(Ids("SELECT L WITH NAME SAID 'RUPERT'"), "1 2") << "four places are compared";
    EXPECT_EQ(Ids("SELECT L WITH NAME SAID 'RABIT'"), "3") << "a letter twice sounds once";
}

TEST_F(QueryTest, OrdersByKeys) {
    const Said cases[] = {
        {"BY CUSTOMER", "4 2 3 1 5"},
        {"BY-DSND CUSTOMER", "5 3 1 2 4"},
        {"BY CUSTOMER BY DATE", "4 2 3 1 5"},
        {"BY CUSTOMER BY-DSND DATE", "4 2 1 3 5"},
        {"BY CUSTOMER BY @ID", "4 2 1 3 5"},
        {"BY REF", "4 5 1 3 2"},
        {"BY-DSND DATE", "2 5 1 4 3"},
        {"BY-EXP QTY", "4@1 3@1 3@2 3@3 1@1 2@1 1@2 5@1"},
        {"BY.EXP.DSND QTY", "5@1 1@2 2@1 1@1 3@3 3@2 3@1 4@1"},
        {"BY-EXP PART", "4@1 5@1 1@2 3@3 3@2 2@1 1@1 3@1"},
        {"BY-EXP PART BY QTY", "4@1 1@2 5@1 3@3 3@2 1@1 2@1 3@1"},
        {"BY-EXP QTY WHEN PART = 'NUT'", "3@2 1@1 2@1"},
        {"BY @ID SAMPLE 2", "1 2"},
        {"BY-DSND CUSTOMER SAMPLE 3", "3 1 2"},
        {"SAVING CUSTOMER", "SMITH BROWN SMITH  adams"},
        {"SAVING UNIQUE CUSTOMER NO.NULLS", "SMITH BROWN adams"},
        {"SAVING PART", "NUT BOLT NUT WIRE NUT CLIP  BOLT"},
        {"SAVING QTY BY CUSTOMER", "7 1 2 3 5 10 20"},
        {"'3' '1' '3'", "3 1 3"},
        {"'3' '1' BY @ID", "1 3"},
    };
    for (const Said& c : cases) {
        EXPECT_EQ(Ids(std::string("SELECT ORDERS ") + c.sentence), c.answer) << c.sentence;
    }
    EXPECT_EQ(Ids("SSELECT ORDERS BY CUSTOMER"), "4 2 1 3 5");
    Write("ORDERS", "6", "^^^^^9");
    EXPECT_EQ(Ids("SELECT ORDERS BY REF"), "4 5 6 1 3 2") << "of equals the last comes first";
    Run("DELETE ORDERS 6");
    EXPECT_EQ(Ids("SSELECT ORDERS BY-EXP-DSND PART"), "3@1 1@1 2@1 3@2 3@3 1@2 5@1 4@1");
}

TEST_F(QueryTest, ReportsTotalsBreaksAndHeadings) {
    Write("ORDERS", "6", "BROWN^1000^NUT]]BOLT^-4]]2^50]]10^");
    const Said cases[] = {
        {"AVERAGE QTY FMT '9R'", "4.1818"},
        {"AVERAGE QTY NO.NULLS FMT '9R'", "5.1111"},
        {"AVG REF FMT '9R'", "3.4167"},
        {"AVERAGE REF NO.NULLS FMT '9R'", "5.125"},
        {"MAX QTY", "20"},
        {"MIN QTY", "-4"},
        {"MAX REF", "10"},
        {"MIN REF", "1.5"},
        {"ENUM PART", "9"},
        {"ENUMERATE REF", "4"},
        {"TOTAL QTY", "46"},
    };
    for (const Said& c : cases) {
        const std::string sentence =
            std::string("LIST ORDERS ") + c.sentence + " ID.SUP DET.SUP HDR.SUP COL.SUP COUNT.SUP";
        const std::string got = Run(sentence);
        EXPECT_EQ(got.substr(std::min(got.find_first_not_of(' '), got.size())), c.answer)
            << sentence;
    }
    const Said headings[] = {
        {"\"'F'\"", "ORDERS"},
        {"\"a'L'b\"", "a|b"},
        {"\"'D'\"", "07 JAN 2020"},
        {"\"'T'\"", "01:00:00  07 JAN 2020"},
        {"\"Page 'P'\"", "Page 1"},
        {"\"'f' 'd' 'x''q'y\"", "ORDERS 07 JAN 2020 y"},
        {"\"\"", ""},
    };
    for (const Said& c : headings) {
        const std::string heading = std::string(c.answer) + (*c.answer == '\0' ? "" : "|");
        EXPECT_EQ(Run(std::string("LIST ORDERS '2' COL.SUP COUNT.SUP ONLY HEADING ") + c.sentence),
                  heading + "2")
            << c.sentence;
        EXPECT_EQ(Run(std::string("LIST ORDERS '2' COL.SUP HDR.SUP ONLY FOOTING ") + c.sentence),
                  "2|" + std::string(c.answer) + "|1 record(s) listed")
            << c.sentence;
    }
    const Said reports[] = {
        {"SORT ORDERS BY CUSTOMER BREAK-ON \"<'V'>\" CUSTOMER TOTAL QTY ID.SUP COL.SUP HDR.SUP "
         "COUNT.SUP GRAND.TOTAL 'all' '1' '2' '3'",
         "BROWN         7|<BROWN>       7||SMITH         5|             10|SMITH         1|"
         "              2|              3|<SMITH>      21||all          28"},
        {"SORT ORDERS BY CUSTOMER BREAK-SUP CUSTOMER TOTAL QTY HDR.SUP COL.SUP COUNT.SUP '2' '3'",
         "2             7|              7||3             1|              2|              3|"
         "              6||TOTAL        13"},
        {"LIST ORDERS '6' PART QTY HDR.SUP COL.SUP COUNT.SUP",
         "6          NUT      -4||           BOLT      2"},
        {"LIST ORDERS '6' WHEN PART = 'NUT' PART QTY HDR.SUP COL.SUP COUNT.SUP",
         "6          NUT      -4"},
        {"LIST ORDERS WITH CUSTOMER = 'nobody' HDR.SUP COL.SUP", "0 record(s) listed"},
        {"LIST ORDERS '99' ONLY HDR.SUP COL.SUP",
         "\"99\" is not in file \"ORDERS\".|0 record(s) listed"},
        {"LIST ORDERS '1' CUSTOMER QTY COL.HDG 'Quantity' VALUE HDR.SUP COUNT.SUP",
         "ORDERS.... Customer.. Quantity ....Value|1          SMITH             5      7.50|"
         "                            10"},
        {"LIST ORDERS '7' PART QTY HDR.SUP COL.SUP COUNT.SUP",
         "7          LONGPA    1|           RT|           X         2"},
        {"LIST ORDERS '1' '2' ONLY DBL.SPC HDR.SUP COL.SUP COUNT.SUP", "|1||2"},
    };
    Write("ORDERS", "7", "^^LONGPART]X^1]2");
    for (const Said& c : reports) {
        EXPECT_EQ(Run(c.sentence), c.answer) << c.sentence;
    }
}

// An index changes how fast an answer comes and nothing else.
TEST_F(QueryTest, AnswersWithAnIndexAreThoseWithout) {
    for (int i = 6; i < 300; ++i) {
        const std::string number = std::to_string(i * 37 % 101);
        const std::string refs[] = {number, "-" + number, "0" + number + ".0", "R" + number, ""};
        const std::string record = "C" + number + "^" + number + "^P" + std::to_string(i % 7) +
                                   "]P" + number + "^" + number + "]" + std::to_string(i % 11) +
                                   "^5^" + refs[static_cast<std::size_t>(i % 5)];
        Write("ORDERS", std::to_string(i).c_str(), record.c_str());
    }
    Write("ORDERS", "400", "07^1^P1^1^1^1");
    const char* clauses[] = {
        "WITH CUSTOMER = '7'",
        "WITH CUSTOMER = 'C10'",
        "WITH CUSTOMER = 'C10' 'C7' 'C10'",
        "WITH CUSTOMER > 'C5'",
        "WITH CUSTOMER BETWEEN 'C1' 'C3'",
        "WITH CUSTOMER = ''",
        "WITH CUSTOMER = 'C10' OR WITH QTY = 3",
        "WITH REF = 7",
        "WITH REF = ''",
        "WITH REF < -5",
        "WITH REF < 20 AND WITH CUSTOMER > 'C'",
        "WITH REF >= '0'",
        "WITH REF = 'R7'",
        "WITH REF > 'R7'",
        "WITH NO REF = 7",
        "WITH QTY > 90",
        "WITH EVERY QTY = 3 10",
        "WITH PART = 'P3' BY DATE",
        "WITH QTY < 4 SAMPLE 9",
        "BY CUSTOMER",
        "BY-DSND CUSTOMER",
        "BY DATE",
        "BY-DSND DATE",
        "BY REF",
        "BY CUSTOMER SAVING PART",
        "BY DATE SAVING UNIQUE PART",
        "WITH VALUE = 35.00",
        "BY-EXP QTY WITH QTY = 3",
    };
    std::vector<std::string> without;
    for (const char* verb : {"SELECT ORDERS ", "SSELECT ORDERS "}) {
        for (const char* clause : clauses) {
            without.push_back(Ids(std::string(verb) + clause));
        }
    }
    EXPECT_EQ(Run("CREATE-INDEX ORDERS CUSTOMER REF"),
              "Index \"CUSTOMER\" of file \"ORDERS\" created.|"
              "Index \"REF\" of file \"ORDERS\" created.");
    Run("CREATE-INDEX ORDERS PART QTY DATE VALUE");
    EXPECT_EQ(Run("CREATE-INDEX ORDERS TODAYS"),
              "\"TODAYS\" depends on more than the record and cannot be indexed.");
    std::size_t next = 0;
    for (const char* verb : {"SELECT ORDERS ", "SSELECT ORDERS "}) {
        for (const char* clause : clauses) {
            EXPECT_EQ(Ids(std::string(verb) + clause), without[next++]) << verb << clause;
        }
    }
    // A changed dictionary outdates the index, a changed record does not.
    Write("ORDERS", "2", "C10^2000^NUT^7^95^7");
    EXPECT_NE((" " + Ids("SELECT ORDERS WITH CUSTOMER = 'C10'")).find(" 2"), std::string::npos);
    Write("DICT ORDERS", "CUSTOMER", "D^3^^Customer^10L^S");
    EXPECT_EQ(Ids("SELECT ORDERS WITH CUSTOMER = 'NUT'"), "2");
    EXPECT_EQ(Run("DELETE-INDEX ORDERS ALL").substr(0, 33),
              "Index \"CUSTOMER\" of file \"ORDERS\"");
    EXPECT_EQ(Run("LIST-INDEX ORDERS"), "0 index(es) listed");
}

}  // namespace
}  // namespace kel::command
