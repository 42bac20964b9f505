// Files and records of the embedded back-end.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

constexpr const wchar_t* kNotOpen = L"The file variable is not open in this connection.";

using EmbeddedRecords = EmbeddedTest;

TEST_F(EmbeddedRecords, AreInFilesThatExist) {
    for (const wchar_t* name : {L"NONE", L"cust", L"", L" CUST", L"CUST\xFE"}) {
        EXPECT_FALSE(session.open(name)) << Narrow(name);
        EXPECT_EQ(session.lastError,
                  (ErrorFields{mvOpenNotFound,
                               L"kelos1::OpenFile",
                               Text(L"There is no file \"") + name + L"\" in this account."}));
    }
}

TEST_F(EmbeddedRecords, AreReachedThroughAnOpenFileVariableOfTheConnection) {
    session.setBuffer(L"x");
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    const auto ofOther = other.open(L"CUST");
    auto closed = session.open(L"CUST");
    EXPECT_EQ(session->CloseFile(closed.inOut()), S_OK);
    EXPECT_TRUE(closed) << "the variable stays, closed";
    const auto ended = session.file;
    session->Disconnect();
    ASSERT_EQ(session.connect(account), ErrorFields());
    struct Case {
        const wchar_t* what;
        ComPtr<IDispatch> file;
    };
    const Case cases[] = {
        {L"closed", closed},
        {L"of an ended connection", ended},
        {L"of another connection", ofOther},
        {L"nothing", {}},
        {L"a record buffer", session.buffer},
        {L"a foreign object", ComPtr<IDispatch>(session.get())},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.what));
        session.file = one.file;
        const ErrorFields expected{mvOpenNotOpen, L"kelos1", kNotOpen};
        const ComPtr<IDispatch> kept = session.buffer;
        EXPECT_EQ(session.read(L"17"), 77);
        EXPECT_EQ(session.lastError.number, mvOpenNotOpen);
        EXPECT_FALSE(session.buffer) << "the result was emptied";
        session.buffer = kept;
        EXPECT_EQ(session.write(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.remove(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.release(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(ErrorOf(session->CloseFile(session.file.inOut())).description,
                  expected.description);
        EXPECT_EQ(session.file.get(), one.file.get());
    }
}

TEST_F(EmbeddedRecords, HaveIdsWithoutMarks) {
    session.setBuffer(L"x");
    const Text longest(1024, L'i');
    const Text tooLong(1025, L'i');
    struct Case {
        Text id;
        Text text;  // of the refusal; "" when it is good
    };
    const Case cases[] = {
        {L"17", L""},
        {L" ", L""},
        {L"a\\b/c \x20AC \xD83D\xDE00 \xD83D", L""},
        {Text(L"nul\0within", 10), L""},
        {L"new\r\nline", L""},
        {longest, L""},
        {L"", L"A record's id must not be empty."},
        {tooLong,
         L"The record id \"" + tooLong.substr(0, 40) + L"...\" is longer than 1024 characters."},
        {L"a\xFE"
         L"b",
         L"The record id \"a\xFE"
         L"b\" holds a mark (a character from U+00FB to U+00FF)."},
        {L"\xFB", L"The record id \"\xFB\" holds a mark (a character from U+00FB to U+00FF)."},
        {L"\xFF", L"The record id \"\xFF\" holds a mark (a character from U+00FB to U+00FF)."},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        const ErrorFields writing =
            one.text.empty() ? ErrorFields()
                             : ErrorFields{automation::kInvalidCall, L"kelos1::mvWrite", one.text};
        ErrorFields reading = writing;
        reading.source = one.text.empty() ? L"" : L"kelos1::mvRead";
        session.setBuffer(one.id.substr(0, 5));
        EXPECT_EQ(session.write(one.id), writing);
        EXPECT_EQ(session.read(one.id), one.text.empty() ? 0 : 77);
        EXPECT_EQ(session.lastError, reading);
        if (one.text.empty()) {
            EXPECT_EQ(session.bufferText(), one.id.substr(0, 5));
            EXPECT_EQ(session.remove(one.id), ErrorFields());
            EXPECT_EQ(session.read(one.id), 1);
        }
    }
}

TEST_F(EmbeddedRecords, ComeBackUnitForUnit) {
    Text everything;
    for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
        everything += static_cast<wchar_t>(unit);
    }
    const Text cases[] = {
        L"",
        L"Smith",
        L"\xFF\xFE\xFD\xFC\xFB",
        L"\xFE\xFE\xFE",
        L"a\xFE"
        L"b\xFD"
        L"c\xFC"
        L"d\xFB"
        L"e\xFF",
        L"\xD83D\xDE00",
        L"\xD83D",
        L"\xDE00\xD83D",
        L"\xD83D\xD83D\xDE00\xDE00",
        Text(L"a\0b", 3),
        Text(1, L'\0'),
        L"\xFEFF\xFFFE\xFFFF",
        L"e\x301 \xE9 \xDF \x131",
        L"line\r\nline\x1A",
        everything,
        Text(100000, L'\xFE'),
    };
    for (const Text& text : cases) {
        SCOPED_TRACE(&text - cases);
        session.setBuffer(text);
        EXPECT_EQ(session.bufferText(), text);
        EXPECT_EQ(session.write(L"text"), ErrorFields());
        EXPECT_EQ(session.read(L"text"), 0);
        EXPECT_TRUE(session.bufferText() == text);
    }
}

TEST_F(EmbeddedRecords, TellMissingFromEmpty) {
    session.setBuffer(L"");
    EXPECT_EQ(session.write(L"empty"), ErrorFields());
    EXPECT_EQ(session.read(L"empty"), 0);
    EXPECT_EQ(session.bufferText(), L"");
    EXPECT_EQ(session.read(L"missing"), 1);
    EXPECT_FALSE(session.buffer);
    EXPECT_EQ(session.remove(L"missing"), ErrorFields()) << "removing nothing is no failure";
    EXPECT_EQ(session.release(L"missing"), ErrorFields());
}

TEST_F(EmbeddedRecords, AreWrittenFromBuffersOfTheBackEndOnly) {
    EmbeddedSession other;
    other.setBuffer(L"of another session");
    session.buffer = other.buffer;
    EXPECT_EQ(session.write(L"1"), ErrorFields()) << "a buffer belongs to no session";
    const ErrorFields expected{automation::kTypeMismatch,
                               L"kelos1::mvWrite",
                               L"The object is no record buffer of this back-end."};
    for (const ComPtr<IDispatch>& object :
         {ComPtr<IDispatch>(), session.file, ComPtr<IDispatch>(session.get())}) {
        session.buffer = object;
        EXPECT_EQ(session.write(L"1"), expected);
    }
    EXPECT_EQ(session.read(L"1"), 0);
    EXPECT_EQ(session.bufferText(), L"of another session");
}

TEST_F(EmbeddedRecords, AreCopiesInTheBuffer) {
    session.setBuffer(L"first");
    session.write(L"1");
    session.read(L"1");
    const auto first = session.buffer;
    session.read(L"1");
    EXPECT_NE(first.get(), session.buffer.get());
    EXPECT_EQ(session->Replace(session.buffer.inOut(), Bstr(L"second").get(), 1, 0, 0), S_OK);
    session.write(L"1");
    session.buffer = first;
    EXPECT_EQ(session.bufferText(), L"first");
    // A buffer outlives its connection.
    session.read(L"1");
    session->Disconnect();
    EXPECT_EQ(session.bufferText(), L"second");
}

TEST_F(EmbeddedRecords, OfFiftyMegabytesAreEditedAndWritten) {
    constexpr long kAttributes = 500000;
    Text text;
    text.reserve(26'500'000);
    for (long amc = 1; amc <= kAttributes; ++amc) {
        text += L"attribute " + std::to_wstring(amc) + std::wstring(36, L'.') + L'\xFE';
    }
    text.pop_back();
    ASSERT_GE(text.size() * sizeof(wchar_t), 50'000'000U);
    ASSERT_EQ(session.setBuffer(text), ErrorFields());
    ASSERT_EQ(session.write(L"big"), ErrorFields());
    ASSERT_EQ(session.read(L"big"), 0);
    for (const long amc : {1L, kAttributes / 2, kAttributes}) {
        EXPECT_EQ(session->Replace(session.buffer.inOut(), Bstr(L"edited").get(), amc, 0, 0), S_OK);
    }
    EXPECT_EQ(session->Insert(session.buffer.inOut(), Bstr(L"new").get(), 2, 0, 0), S_OK);
    long count = 0;
    EXPECT_EQ(session->Dcount(Bstr(L"\xFE").get(), session.buffer.inOut(), 0, 0, 0, &count), S_OK);
    EXPECT_EQ(count, kAttributes + 1);
    ASSERT_EQ(session.write(L"big"), ErrorFields());
    ASSERT_EQ(session.read(L"big"), 0);
    struct Case {
        long amc;
        Text begins;
    };
    for (const Case& one : {Case{1, L"edited"},
                            Case{2, L"new"},
                            Case{3, L"attribute 2."},
                            Case{kAttributes / 2 + 1, L"edited"},
                            Case{kAttributes, L"attribute 499999."},
                            Case{kAttributes + 1, L"edited"},
                            Case{kAttributes + 2, L""}}) {
        Bstr value;
        EXPECT_EQ(session->Extract(session.buffer.inOut(), one.amc, 0, 0, value.put()), S_OK);
        EXPECT_EQ(Text(value.view()).substr(0, one.begins.size()), one.begins) << one.amc;
    }
}

TEST_F(EmbeddedRecords, LastFromSessionToSession) {
    session.setBuffer(L"Smith");
    session.write(L"17");
    session->Disconnect();
    EmbeddedSession later;
    ASSERT_EQ(later.connect(account), ErrorFields());
    later.file = later.open(L"CUST");
    EXPECT_EQ(later.read(L"17"), 0);
    EXPECT_EQ(later.bufferText(), L"Smith");
}

TEST_F(EmbeddedRecords, EndWithTheirFile) {
    session.setBuffer(L"Smith");
    EmbeddedSession other;
    ASSERT_EQ(other.connect(account), ErrorFields());
    EXPECT_EQ(other.execute(L"DELETE-FILE CUST"), L"418: File \"CUST\" deleted.");
    EXPECT_EQ(session.write(L"17").number, mvOpenNotFound)
        << "the variable means a file that is gone";
    session.read(L"17");
    EXPECT_EQ(session.lastError,
              (ErrorFields{mvOpenNotFound,
                           L"kelos1::mvRead",
                           L"The file is no longer in the account \"" + account + L"\"."}));
}

TEST_F(EmbeddedRecords, RefuseNullPointers) {
    ComPtr<IDispatch> result;
    short status = 77;
    EXPECT_EQ(session->mvRead(VARIANT_FALSE, nullptr, nullptr, &status, result.put()), E_POINTER);
    EXPECT_EQ(session->mvRead(VARIANT_FALSE, nullptr, session.file.inOut(), nullptr, result.put()),
              E_POINTER);
    EXPECT_EQ(session->mvRead(VARIANT_FALSE, nullptr, session.file.inOut(), &status, nullptr),
              E_POINTER);
    EXPECT_EQ(session->mvWrite(VARIANT_FALSE, nullptr, session.file.inOut(), nullptr), E_POINTER);
    EXPECT_EQ(session->OpenFile(nullptr, nullptr), E_POINTER);
    EXPECT_EQ(session->CloseFile(nullptr), E_POINTER);
    EXPECT_EQ(status, 77);
    SetErrorInfo(0, nullptr);
}

}  // namespace
}  // namespace kel::tests
