// What every back-end owes the engine, at its interface: run over each one that comes with the
// product. A back-end of one's own is put into the list at the end.
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "automation/property.h"
#include "backend/discovery.h"
#include "tests/backend/test_backend.h"
#include "tests/support/backend_session.h"
#include "tests/support/environment.h"

namespace kel::tests {
namespace {

constexpr short kRead = 0;
constexpr short kMissing = 1;
constexpr short kLocked = 2;

struct Contract {
    BackendKind kind;
    short osType;
};

// Two sessions with one database that has a file, CUST.
class BackendContract : public testing::TestWithParam<Contract> {
protected:
    void SetUp() override {
        ASSERT_EQ(session.connect(database), ErrorFields());
        EXPECT_TRUE(session.execute(L"CREATE-FILE CUST").starts_with(L"417: "));
        ASSERT_EQ(other.connect(database), ErrorFields());
        session.file = session.open(L"CUST");
        other.file = other.open(L"CUST");
        ASSERT_TRUE(session.file && other.file);
    }
    void put(const wchar_t* id, const Text& text) {
        session.setBuffer(text);
        EXPECT_EQ(session.write(id), ErrorFields());
    }
    ComPtr<IDispatch> select() {
        ComPtr<IDispatch> list;
        EXPECT_EQ(session->ProcessSelect(Bstr(L"SELECT CUST").get(), list.put()), S_OK);
        return list;
    }
    // The next id; "end" when there is none, which empties the variable, or "refused".
    Text next(ComPtr<IDispatch>& list) {
        Bstr id(L"stale");
        VARIANT_BOOL more = VARIANT_TRUE;
        if (FAILED(session->ReadNext(list.inOut(), id.inOut(), &more))) {
            EXPECT_EQ(more, VARIANT_FALSE);
            return L"refused";
        }
        EXPECT_EQ(id.view().empty(), more == VARIANT_FALSE);
        return more == VARIANT_FALSE ? Text(L"end") : Text(id.view());
    }
    ErrorFields close(IDispatch* list) {
        Variant result;
        return ErrorOf(session->CloseSelect(list, result.put()));
    }

    TempFolder folder;
    const Text database = folder / L"contract";
    BackendSession session{GetParam().kind};
    BackendSession other{GetParam().kind};
};

TEST_P(BackendContract, TellsWhatItIsAndWhatItIsToBeTold) {
    EXPECT_EQ(automation::GetNumber(*session.get(), &_mviHostDLL::get_OsType), GetParam().osType);
    EXPECT_EQ(Text(GetParam().kind.name) + L".IHostDLL", backend::ProgIdOf(GetParam().osType));
    EXPECT_TRUE(
        backend::IsAcceptedVersion(automation::GetText(*session.get(), &_mviHostDLL::get_Version)));
    short count = 0;
    EXPECT_EQ(session->PropertyCount(&count), S_OK);
    bool hasDatabase = false;
    for (short i = 1; i <= count; ++i) {
        Bstr name;
        Bstr type;
        Bstr value;
        EXPECT_EQ(session->GetPropertyName(i, name.inOut(), type.inOut()), S_OK);
        EXPECT_FALSE(name.view().empty() || type.view().empty()) << i;
        if (name.view() == GetParam().kind.property) {
            hasDatabase = true;
            EXPECT_EQ(session->get_PropertyValue(name.get(), value.put()), S_OK);
            EXPECT_EQ(value.view(), database);
        }
    }
    EXPECT_TRUE(hasDatabase);
}

TEST_P(BackendContract, IsConnectedOnceAndWithoutThatDoesNothing) {
    EXPECT_TRUE(session.isConnected() && !session.hasFailed());
    EXPECT_EQ(ErrorOf(session->Connect()).number, AlreadyConnected);
    EXPECT_TRUE(session.isConnected()) << "the second attempt changes nothing";
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(session->Disconnect(), S_OK);
        EXPECT_FALSE(session.isConnected());
    }
    session.setBuffer(L"x");
    EXPECT_EQ(session.lastError, ErrorFields()) << "buffers need no connection";
    EXPECT_FALSE(session.open(L"CUST"));
    EXPECT_EQ(session.lastError.number, NotConnected);
    ComPtr<IDispatch> list;
    EXPECT_EQ(ErrorOf(session->ProcessSelect(Bstr(L"SELECT CUST").get(), list.put())).number,
              NotConnected);
    EXPECT_EQ(session.connect(database), ErrorFields());
    EXPECT_TRUE(session.open(L"CUST"));
}

// Records are drawn with ^ ] \ for their marks.
TEST_P(BackendContract, EditsBuffersInPlaceAtTheirPositions) {
    struct Edit {
        wchar_t how;  // Replace, Insert or Delete
        long a, v, s;
        const wchar_t* after;  // of A^B]C\D^E, with X
    };
    const Edit edits[] = {
        {L'R', 0, 0, 0, L"X"},
        {L'R', 2, 2, 1, L"A^B]X\\D^E"},
        {L'R', 5, 0, 0, L"A^B]C\\D^E^^X"},
        {L'R', 1, 3, 0, L"A]]X^B]C\\D^E"},
        {L'R', -1, 0, 0, L"A^B]C\\D^E^X"},
        {L'I', 2, 1, 0, L"A^X]B]C\\D^E"},
        {L'I', 2, 2, 2, L"A^B]C\\X\\D^E"},
        {L'I', 0, 0, 0, L"X^A^B]C\\D^E"},
        {L'D', 2, 2, 1, L"A^B]D^E"},
        {L'D', 3, 0, 0, L"A^B]C\\D"},
        {L'D', 7, 0, 0, L"A^B]C\\D^E"},
        {L'D', 0, 0, 0, L""},
    };
    const Bstr x(L"X");
    for (const Edit& one : edits) {
        SCOPED_TRACE(Narrow(Text(1, one.how)) + " " + std::to_string(one.a) + "," +
                     std::to_string(one.v) + "," + std::to_string(one.s));
        session.setBuffer(Marked(L"A^B]C\\D^E"));
        IDispatch* const before = session.buffer.get();
        IDispatch** const array = session.buffer.inOut();
        EXPECT_EQ(one.how == L'R'   ? session->Replace(array, x.get(), one.a, one.v, one.s)
                  : one.how == L'I' ? session->Insert(array, x.get(), one.a, one.v, one.s)
                                    : session->Delete(array, one.a, one.v, one.s),
                  S_OK);
        EXPECT_EQ(session.bufferText(), Marked(one.after));
        EXPECT_EQ(session.buffer.get(), before);
    }
}

TEST_P(BackendContract, FindsElementsOfBuffers) {
    session.setBuffer(Marked(L"A^B]C\\D^E"));
    IDispatch** const array = session.buffer.inOut();
    struct Element {
        long a, v, s;
        const wchar_t* text;
    };
    for (const Element& one : {Element{2, 0, 0, L"B]C\\D"},
                               Element{2, 2, 2, L"D"},
                               Element{2, 0, 2, L"B]C\\D"},
                               Element{9, 1, 1, L""},
                               Element{0, 1, 0, L""}}) {
        Bstr text(L"stale");
        EXPECT_EQ(session->Extract(array, one.a, one.v, one.s, text.put()), S_OK);
        EXPECT_EQ(text.view(), Marked(one.text)) << one.a << "," << one.v << "," << one.s;
    }
    long count = 77;
    EXPECT_EQ(session->Dcount(Bstr(Marked(L"\\")).get(), array, 2, 2, 0, &count), S_OK);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(session->Dcount(Bstr(L"x").get(), array, 9, 0, 0, &count), S_OK);
    EXPECT_EQ(count, 0) << "nothing has no parts";
    struct Search {
        const wchar_t* text;
        long a, v;
        const wchar_t* order;
        bool found;
        long position;
    };
    for (const Search& one : {Search{L"E", 0, 0, L"", true, 3},
                              Search{L"B", 2, 0, L"", true, 1},
                              Search{L"D", 2, 2, L"AL", true, 2},
                              Search{L"e", 0, 0, L"", false, 4},
                              Search{L"CC", 2, 2, L"AL", false, 2},
                              Search{L"CC", 2, 2, L"AR", false, 3}}) {
        long position = 77;
        VARIANT_BOOL found = VARIANT_FALSE;
        EXPECT_EQ(session->Locate(array,
                                  &position,
                                  Bstr(one.text).get(),
                                  one.a,
                                  one.v,
                                  Bstr(one.order).get(),
                                  &found),
                  S_OK);
        EXPECT_EQ(found != VARIANT_FALSE, one.found) << Narrow(one.text);
        EXPECT_EQ(position, one.position) << Narrow(one.text);
    }
}

TEST_P(BackendContract, RefusesObjectsThatItHasNotMade) {
    put(L"17", L"Smith");
    const auto list = select();
    const ComPtr<IDispatch> foreign(session.get());
    session.setBuffer(L"x");
    const ComPtr<IDispatch> buffer = session.buffer;
    const ComPtr<IDispatch> file = session.file;
    for (ComPtr<IDispatch> object : {ComPtr<IDispatch>(), foreign, list, file}) {
        Bstr text(L"stale");
        BSTR* const out = text.put();
        EXPECT_EQ(ErrorOf(session->Extract(object.inOut(), 1, 0, 0, out)).number,
                  automation::kTypeMismatch);
        EXPECT_EQ(text.get(), nullptr);
        session.buffer = object;
        EXPECT_EQ(session.write(L"17").number, automation::kTypeMismatch);
    }
    auto closed = session.open(L"CUST");
    EXPECT_EQ(session->CloseFile(closed.inOut()), S_OK);
    for (const ComPtr<IDispatch>& object : {ComPtr<IDispatch>(), foreign, list, buffer, closed}) {
        session.file = object;
        session.buffer = buffer;
        EXPECT_EQ(session.read(L"17"), 77) << "the status is left alone";
        EXPECT_EQ(session.lastError.number, mvOpenNotOpen);
        EXPECT_FALSE(session.buffer) << "the result is emptied";
        session.buffer = buffer;
        EXPECT_EQ(session.write(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.remove(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(session.release(L"17").number, mvOpenNotOpen);
        EXPECT_EQ(ErrorOf(session->CloseFile(session.file.inOut())).number, mvOpenNotOpen);
    }
    for (ComPtr<IDispatch> object : {ComPtr<IDispatch>(), foreign, buffer, file}) {
        EXPECT_EQ(next(object), L"refused");
    }
    EXPECT_NE(close(foreign.get()), ErrorFields());
    EXPECT_EQ(close(nullptr), ErrorFields()) << "the engine closes what a key field has not got";
    session.file = file;
    EXPECT_EQ(session.read(L"17"), kRead);
    EXPECT_EQ(session.bufferText(), L"Smith") << "nothing was written";
}

TEST_P(BackendContract, KeepsRecordsOverConnections) {
    const Text whole = Marked(L"Sm\"ith]x^^\\ \u00E9\U0001F600");
    put(L"a b", whole);
    put(L"gone", L"x");
    EXPECT_EQ(session.remove(L"gone"), ErrorFields());
    EXPECT_EQ(session.remove(L"gone"), ErrorFields()) << "removing nothing is no failure";
    session->Disconnect();
    ASSERT_EQ(session.connect(database), ErrorFields());
    session.file = session.open(L"CUST");
    EXPECT_EQ(session.read(L"a b"), kRead);
    EXPECT_EQ(session.bufferText(), whole);
    for (const wchar_t* id : {L"gone", L"A B"}) {
        EXPECT_EQ(session.read(id), kMissing) << Narrow(id);
        EXPECT_FALSE(session.buffer);
    }
    EXPECT_FALSE(session.open(L"NONE"));
    EXPECT_EQ(session.lastError.number, mvOpenNotFound);
}

TEST_P(BackendContract, EndsLocksInTheWaysThatEndThem) {
    struct Case {
        const char* how;
        bool ends;
        std::function<void()> step;
    };
    const Case cases[] = {
        {"write", true, [&] { session.write(L"17"); }},
        {"write with lock", false, [&] { session.write(L"17", true); }},
        {"delete", true, [&] { session.remove(L"17"); }},
        {"release", true, [&] { session.release(L"17"); }},
        {"read", false, [&] { session.read(L"17"); }},
        {"release by the other", false, [&] { other.release(L"17"); }},
        {"write of another record", false, [&] { session.write(L"18"); }},
        {"close of the file",
         false,
         [&] {
             session->CloseFile(session.file.inOut());
             session.file = session.open(L"CUST");
         }},
        {"disconnect",
         true,
         [&] {
             session->Disconnect();
             session.connect(database);
             session.file = session.open(L"CUST");
         }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(one.how);
        put(L"17", L"Smith");
        ASSERT_EQ(session.read(L"17", true), kRead);
        EXPECT_EQ(session.read(L"17", true), kRead) << "once more by its owner";
        ASSERT_EQ(other.read(L"17", true), kLocked);
        EXPECT_FALSE(other.buffer);
        EXPECT_EQ(other.read(L"17"), kRead) << "without a lock it may be read";
        session.setBuffer(L"Smith");
        one.step();
        EXPECT_EQ(session.lastError, ErrorFields());
        EXPECT_EQ(other.read(L"17", true) != kLocked, one.ends);
        other.release(L"17");
        session.release(L"17");
    }
    EXPECT_EQ(session.read(L"new", true), kMissing) << "locked before there is a record";
    EXPECT_EQ(other.read(L"new", true), kLocked);
}

TEST_P(BackendContract, ReadsListsByThemselves) {
    for (const wchar_t* id : {L"1", L"2", L"3"}) {
        put(id, L"x");
    }
    auto first = select();
    auto second = select();
    const Text one = next(first);
    const Text two = next(first);
    EXPECT_EQ(next(second), one) << "each has a place of its own";
    const Text three = next(first);
    EXPECT_EQ((std::set<Text>{one, two, three}), (std::set<Text>{L"1", L"2", L"3"}));
    EXPECT_EQ(next(first), L"end");
    EXPECT_EQ(next(first), L"end") << "and at its end it stays";
    // Half read, closed, and closed again.
    EXPECT_EQ(close(second.get()), ErrorFields());
    EXPECT_EQ(close(second.get()), ErrorFields());
    const Text closed = next(second);
    EXPECT_TRUE(closed == L"end" || closed == L"refused") << Narrow(closed);
    second = select();
    EXPECT_EQ(next(second), one) << "a new one begins at the beginning";
    ComPtr<IDispatch> none(session.get());
    const long refusal =
        ErrorOf(session->ProcessSelect(Bstr(L"SELECT NONE").get(), none.put())).number;
    EXPECT_TRUE(refusal == mvSelectError || refusal == mvOpenNotFound) << refusal;
    EXPECT_FALSE(none);
}

INSTANTIATE_TEST_SUITE_P(Of,
                         BackendContract,
                         testing::Values(Contract{{L"kelos1", L"Database"}, 1},
                                         Contract{{L"kelos20", L"Name"}, 20}),
                         [](const auto& one) { return Narrow(one.param.kind.name); });

}  // namespace
}  // namespace kel::tests
