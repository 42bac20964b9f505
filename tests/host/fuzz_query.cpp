// fuzz_query SECONDS SEED: sentences at random over a small file. Looks for what the sanitizers
// catch, and for answers that an index changes.
#include "hosts/multivalue/command/session.h"
#include "hosts/multivalue/conversion/store_environment.h"
#include "tests/support/memory_store.h"
#include "tests/support/mutator.h"

namespace kel::command {
namespace {

const std::vector<Text>& Sentences() {
    static const std::vector<Text> sentences = {
        u"SELECT F WITH NAME = \"A]\" \"[B\" AND EVERY QTY > 5 OR NO CITY BY NAME",
        u"SSELECT F WITH QTY BETWEEN 3 '9' BY-EXP-DSND QTY BY REF SAMPLE 7",
        u"SELECT F WHEN (QTY > 4 AND PRICE < '0.90') BY.EXP PRICE SAVING UNIQUE NAME NO.NULLS",
        u"SELECT F WITH REF < 5 WITH NAME LIKE \"...A0N1X\" BY-DSND REF TO 3",
        u"SELECT F WITH NAME SAID 'ANNE' AND NOT MATCHING '3A' AND WITH REF = QTY BY EVAL 'QTY*2'",
        u"SELECT F WITH REF = 7",
        u"SELECT F WITH REF > -3",
        u"SSELECT F BY NAME",
        u"SELECT F BY REF",
        u"LIST F NAME QTY FMT '3R' COL.HDG 'X' CONV 'MD1' BREAK-ON \"'V'x\" CITY TOTAL PRICE",
        u"SORT F BY CITY BREAK-SUP CITY AVERAGE QTY MAX REF MIN PRICE ENUM NAME ID.SUP DET.SUP",
        u"SORT F HEADING \"a'DLPT'b\" FOOTING 'z' VERT DBL.SPC",
        u"LIST DICT F '1' \"A\" ONLY COUNT.SUP COL.SUP GRAND.TOTAL 'all'",
        u"LIST F @ EXT VERT EVAL \"NAME[1,2]\" AS N",
        u"COUNT F USING DICT F FROM 2 REQUIRE.SELECT",
        u"SUM F QTY PRICE",
        u"SAVE-LIST l FROM 3",
        u"GET-LIST l TO 2",
        u"QSELECT F 1 2 FIELD 4",
        u"COPY FROM F TO G 1 2,3 OVERWRITING DELETING",
        u"CREATE-FILE G",
        u"DELETE G ALL",
        u"CT F 1 'x'",
        u"DELETE-INDEX F ALL",
        u"CREATE-INDEX F NAME REF QTY EXT",
        u"OPTION QUERY.PRIORITY.AND ON",
        u"HELP LIST"};
    return sentences;
}

const std::vector<Text>& Records() {
    static const std::vector<Text> records = {
        u"",
        u"ANNE LEE\u00feROME\u00fe3\u00fd4\u00fd5\u00fe10\u00fd20\u00fe7",
        u"A\u00fe\u00fe1\u00fc2\u00fd3\u00fe-99999999999999999999.5\u00fe-4",
        u"\u00fe\u00fd\u00fc\u00fe0\u00fe.\u00fe+1.50",
        u"x\u00fb y\u00ff\u00fe007\u00fd+1\u00fd.\u00fe1.50\u00fe\u00fe007A"};
    return records;
}

struct FuzzAccount {
    FuzzAccount() {
        session.Execute(u"CREATE-FILE F");
        const std::pair<TextView, TextView> items[] = {
            {u"NAME", u"D\u00fe1\u00fe\u00feName\u00fe8L\u00feS"},
            {u"CITY", u"D\u00fe2\u00fe\u00fe\u00fe5T\u00feM"},
            {u"QTY", u"D\u00fe3\u00fe\u00feQty\u00fe4R\u00feM\u00feLINES"},
            {u"PRICE", u"D\u00fe4\u00feMD2\u00fePrice\u00fe7R2\u00feM\u00feLINES"},
            {u"REF", u"D\u00fe5\u00fe\u00feRef\u00fe3R\u00feS"},
            {u"EXT", u"I\u00feQTY*PRICE\u00feMD2\u00feA\u00fdB\u00fe3U\u00feM\u00feLINES"},
            {u"@", u"PH\u00feNAME LINES"},
            {u"LINES", u"PH\u00feQTY PRICE"}};
        const FileNumber dictionary = *store->FindFile(u"DICT F");
        for (const auto& [id, item] : items) {
            store->Write(dictionary, id, item, AfterWrite::kRelease);
        }
    }

    std::unique_ptr<Store> store = OpenMemoryStore(MakeMemoryAccount());
    StoreEnvironment environment{*store};
    Session session{*store, environment};
};

// The entries a sentence selects, or its refusal.
Text Selected(Session& session, const Text& sentence) {
    Text answer;
    try {
        for (const SelectedId& entry : Drain(*session.Select(sentence))) {
            answer += entry.id + u"\u00fe";
        }
    } catch (const Error& error) {
        answer = error.text();
    }
    return answer;
}

void TryOne(Mutator& mutator) {
    FuzzAccount account;
    account.environment.SetFamily(mutator.Below(3) == 0 ? Family::kR83 : Family::kUni);
    account.session.SetOption(u"QUERY.NO.CASE", mutator.Below(8) == 0);
    const FileNumber file = *account.store->FindFile(u"F");
    for (char16_t id = u'1'; id < u'9'; ++id) {
        account.store->Write(file, Text(1, id), mutator.Vary(Records()), AfterWrite::kRelease);
    }
    for (int i = 0; i < 4; ++i) {
        account.session.Execute(mutator.Vary(Sentences()));
    }
    for (int number = 0; number < kActiveLists; ++number) {
        account.session.PutList(number, nullptr);
    }
    const Text sentence = mutator.Vary(Sentences());
    account.session.Execute(u"DELETE-INDEX F ALL");
    const Text without = Selected(account.session, sentence);
    account.session.Execute(u"CREATE-INDEX F NAME REF QTY EXT CITY");
    for (int number = 0; number < kActiveLists; ++number) {
        account.session.PutList(number, nullptr);
    }
    const Text with = Selected(account.session, sentence);
    if (with != without) {
        GiveUp("an index does not change what is selected", {sentence, without, with});
    }
}

}  // namespace
}  // namespace kel::command

int main(int argc, char** argv) {
    return kel::text::RunFor(argc,
                             argv,
                             u"0123456789AFGNQ,.:+-*/#=<>()[]^~\"'_@ \u00fb\u00fc\u00fd\u00fe",
                             kel::command::TryOne);
}
