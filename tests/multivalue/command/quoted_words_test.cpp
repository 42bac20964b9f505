// Words in quotes are data, whatever they are.
#include <gtest/gtest.h>

#include "hosts/multivalue/text/functions.h"
#include "tests/multivalue/command/two_sessions.h"

namespace kel::command {
namespace {

class QuotedWords : public TwoSessions {
protected:
    QuotedWords() {
        mine.Run("CREATE-FILE F");
        mine.Run("CREATE-FILE G");
        Fill();
    }

    void Fill() const {
        for (const char* id : {"a", "b", "a,b", "it's", "say \"x\"", "OVERRIDE"}) {
            mine.Put("F", id, id);
        }
    }

    // The ids of a file, parted by "|".
    std::string IdsOf(const char* file) {
        std::string ids;
        const std::unique_ptr<SelectList> list =
            mine.session.Select(Marked("SSELECT ") + Marked(file));
        for (SelectedId entry; list->Next(entry);) {
            ids += (ids.empty() ? "" : "|") + Drawn(entry.id);
        }
        return ids;
    }
};

TEST_P(QuotedWords, AreNeverKeywordsOfSentencesThatChange) {
    const std::string all = "OVERRIDE|a|a,b|b|it's|say \"x\"";
    struct Case {
        const char* sentence;
        std::string left;    // in F afterwards
        const char* copied;  // in G afterwards
    };
    const Case cases[] = {
        {"DELETE F 'ALL'", all, ""},
        {"DELETE F \"all\"", all, ""},
        {"DELETE F ALL", "", ""},
        {"DELETE F ALL a", all, ""},
        {"DELETE F 'OVERRIDE' a", "a,b|b|it's|say \"x\"", ""},
        {"DELETE F OVERRIDE a", "a,b|b|it's|say \"x\"", ""},
        {"DELETE F 'it''s' \"say \"\"x\"\"\"", "OVERRIDE|a|a,b|b", ""},
        {"DELETE F 'a','b'", "OVERRIDE|a,b|it's|say \"x\"", ""},
        {"DELETE F it's", "OVERRIDE|a|a,b|b|say \"x\"", ""},
        {"COPY FROM F 'TO' 'G' a", all, ""},
        {"COPY FROM F TO G 'ALL' DELETING", all, ""},
        {"COPY FROM F TO G a 'DELETING'", all, "a"},
        {"COPY FROM F TO G a,c", all, "c"},
        {"COPY FROM F TO G a,b", all, "a,b"},
        {"COPY FROM F TO G 'a,c'", all, ""},
        {"COPY FROM F TO G 'it''s','new id'", all, "new id"},
        {"COPY FROM F TO G a,'x y' 'b',z", all, "x y|z"},
        {"COPY FROM F TO G a,'x',y", all, ""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.sentence);
        mine.Run("CLEAR-FILE G");
        Fill();
        const std::string answer = mine.Run(one.sentence);
        EXPECT_EQ(IdsOf("F"), one.left) << answer;
        EXPECT_EQ(IdsOf("G"), one.copied) << answer;
    }
}

TEST_P(QuotedWords, AndRecordsComeBeforeKeywords) {
    mine.Put("F", "ALL");
    mine.Put("F", "IN");
    EXPECT_EQ(mine.Run("DELETE F all"), "\"all\" is not in file \"F\".^0 record(s) deleted");
    EXPECT_EQ(mine.Run("DELETE F ALL"), "1 record(s) deleted");
    EXPECT_FALSE(mine.Has("F", "ALL"));
    EXPECT_TRUE(mine.Has("F", "a"));
    // IN otherwise means nothing: the sentence would be about all records.
    EXPECT_EQ(mine.Run("COUNT F IN"), "1 record(s) counted");
    EXPECT_EQ(mine.Run("COUNT G IN"), "0 record(s) counted");
}

TEST_P(QuotedWords, AreIdsAndConstantsInQueries) {
    struct Case {
        const char* sentence;
        const char* answer;
    };
    const Case cases[] = {
        {"COUNT F 'it''s'", "1 record(s) counted"},
        {"COUNT F \"it's\" 'a'", "2 record(s) counted"},
        {"COUNT F WITH @ID = 'it''s' \"say \"\"x\"\"\"", "2 record(s) counted"},
        {"COUNT F SAMPLE 'a'", "1 record(s) counted"},
        {"COUNT F SAMPLE '5'", "0 record(s) counted"},
        {"COUNT F 'WITH'", "0 record(s) counted"},
        {"COUNT F 'it''s", "\"'it''s\" has no closing quote."},
        {"LIST F 'a' ONLY COUNT.SUP HEADING \"it''s\"", "it's^"},
    };
    for (const Case& one : cases) {
        const std::string answer = mine.Run(one.sentence);
        EXPECT_TRUE(answer.starts_with(one.answer)) << one.sentence << ": " << answer;
    }
}

// What a program quotes comes out as it went in, in sentences of both kinds.
TEST_P(QuotedWords, CarryAnyText) {
    for (const char* text : {"", "'", "''", "\"", "a 'b' \"c\"", "ALL", ",", "',", "' ALL '"}) {
        const Text quoted = Quoted(Marked(text));
        if (*text != '\0') {
            mine.Put("G", text);
            EXPECT_EQ(mine.Run("COUNT G " + Drawn(quoted)), "1 record(s) counted") << text;
            EXPECT_EQ(mine.Run("DELETE G " + Drawn(quoted)), "1 record(s) deleted") << text;
        }
        EXPECT_EQ(mine.Run("COUNT G WITH @ID = " + Drawn(quoted) + " 'none'"),
                  "0 record(s) counted")
            << text;
    }
}

INSTANTIATE_TEST_SUITE_P(Accounts, QuotedWords, testing::Values(true), NameOfAccount);

}  // namespace
}  // namespace kel::command
