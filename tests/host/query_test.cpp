// Sentences: what they select, list and refuse. Files are made in memory.
#include <gtest/gtest.h>

#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "tests/support/memory_store.h"
#include "tests/support/plain_environment.h"
#include "tests/support/text_support.h"

namespace kel::command {
namespace {

// The day and the second stand still.
struct FixedEnvironment : StoreEnvironment {
    using StoreEnvironment::StoreEnvironment;
    std::int32_t Today() const override { return 19000; }
    std::int32_t SecondOfDay() const override { return 3600; }
};

class QueryTest : public testing::Test {
protected:
    QueryTest() {
        Run("CREATE-FILE ORDERS");
        const std::pair<const char*, const char*> items[] = {
            {"CUSTOMER", "D^1^^Customer^10L^S"},
            {"DATE", "D^2^D4/^Date^10R^S"},
            {"PART", "D^3^^Part^6L^M^LINES"},
            {"QTY", "D^4^^Qty^4R^M^LINES"},
            {"PRICE", "D^5^MD2^Price^8R^M^LINES"},
            {"REF", "D^6^^Ref^4R^S"},
            {"VALUE", "I^SUM(QTY*PRICE)^MD2^Value^9R^S"},
            {"TODAYS", "I^DATE()^D^^12R^S"},
            {"LINES", "PH^PART QTY"},
            {"RING", "PH^CUSTOMER RING"},
            {"@", "PH^CUSTOMER LINES"},
        };
        for (const auto& [id, record] : items) {
            Write("DICT ORDERS", id, record);
        }
        const std::pair<const char*, const char*> records[] = {
            {"1", "SMITH^1000^NUT]BOLT^5]10^100]25^9"},
            {"2", "BROWN^2000^NUT^7^95^10"},
            {"3", "SMITH^^WIRE]NUT]CLIP^1]2]3^1000]90]5^A"},
            {"4", "^500^^^^"},
            {"5", "adams^1500^BOLT^20^30^1.50"},
        };
        for (const auto& [id, record] : records) {
            Write("ORDERS", id, record);
        }
    }

    void Write(const char* file, const char* id, const char* record) {
        store_->Write(
            *store_->FindFile(Marked(file)), Marked(id), Marked(record), AfterWrite::kKeep);
    }

    // Lines parted by "|".
    std::string Run(const std::string& sentence) {
        std::string output = Drawn(session_.Execute(Text(sentence.begin(), sentence.end())).output);
        for (char& unit : output) {
            unit = unit == '^' ? '|' : unit;
        }
        return output;
    }

    // The ids, or the refusal.
    std::string Ids(const std::string& sentence) {
        try {
            std::string ids;
            const Text text(sentence.begin(), sentence.end());
            for (const SelectedId& entry : Drain(*session_.Select(text))) {
                ids += (ids.empty() ? "" : " ") + Drawn(entry.id);
                if (entry.position.value > 0) {
                    ids += "@" + std::to_string(entry.position.value);
                }
            }
            return ids;
        } catch (const Error& error) {
            return error.what();
        }
    }

    std::unique_ptr<Store> store_ = OpenMemoryStore(MakeMemoryAccount());
    FixedEnvironment environment_{*store_};
    Session session_{*store_, environment_};
};

struct Selected {
    const char* sentence;
    const char* ids;
};

const Selected kSelected[] = {
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
    for (const Selected& c : kSelected) {
        EXPECT_EQ(Ids(c.sentence), c.ids) << c.sentence;
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
    const char* clauses[] = {
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

// What a session says, one sentence after the other.
TEST_F(QueryTest, CommandsAnswer) {
    const Selected dialog[] = {
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
    for (const Selected& c : dialog) {
        EXPECT_EQ(Run(c.sentence), c.ids) << c.sentence;
    }
    EXPECT_EQ(session_.Execute(u"CREATE-FILE ORDERS").failure, ErrorKind::kFileExists);
    EXPECT_EQ(session_.Execute(u"SELECT ORDERS").codes, u"404");
}

}  // namespace
}  // namespace kel::command
