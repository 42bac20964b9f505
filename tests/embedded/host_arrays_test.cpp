// The contract of record buffers as it shows at the interface. The rules themselves are tested with
// the portable library.
#include <gtest/gtest.h>

#include <functional>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

// Marks as they are written on paper: ^ attribute, ] value, \ subvalue.
Text Marks(Text text) {
    for (wchar_t& unit : text) {
        unit = unit == L'^' ? L'\xFE' : unit == L']' ? L'\xFD' : unit == L'\\' ? L'\xFC' : unit;
    }
    return text;
}

class EmbeddedArrays : public testing::Test {
protected:
    void load(const Text& text) { EXPECT_EQ(session.setBuffer(Marks(text)), ErrorFields()); }

    EmbeddedSession session;
};

TEST_F(EmbeddedArrays, FollowTheWorkedExamples) {
    enum Edit { kReplace, kInsert, kDelete };
    struct Case {
        Edit edit;
        long amc, vmc, smc;
        Text result;
    };
    const Text sample = L"A^B]C\\D^E";
    const Case cases[] = {
        {kReplace, 5, 0, 0, L"A^B]C\\D^E^^X"},
        {kReplace, 1, 3, 0, L"A]]X^B]C\\D^E"},
        {kReplace, 2, 0, 0, L"A^X^E"},
        {kReplace, 2, 2, 1, L"A^B]X\\D^E"},
        {kReplace, -1, 0, 0, L"A^B]C\\D^E^X"},
        {kReplace, 2, -1, 0, L"A^B]C\\D]X^E"},
        {kReplace, 0, 0, 0, L"X"},
        {kReplace, 0, 2, 0, L"A]X^B]C\\D^E"},
        {kInsert, 2, 1, 0, L"A^X]B]C\\D^E"},
        {kInsert, 2, 2, 2, L"A^B]C\\X\\D^E"},
        {kInsert, 1, 0, 0, L"X^A^B]C\\D^E"},
        {kInsert, 0, 0, 0, L"X^A^B]C\\D^E"},
        {kInsert, -1, 0, 0, L"A^B]C\\D^E^X"},
        {kInsert, 6, 0, 0, L"A^B]C\\D^E^^^X"},
        {kDelete, 2, 2, 1, L"A^B]D^E"},
        {kDelete, 3, 0, 0, L"A^B]C\\D"},
        {kDelete, 9, 0, 0, L"A^B]C\\D^E"},
        {kDelete, -1, 0, 0, L"A^B]C\\D^E"},
        {kDelete, 0, 0, 0, L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        load(sample);
        IDispatch* const before = session.buffer.get();
        IDispatch** const array = session.buffer.inOut();
        const Bstr value(L"X");
        const HRESULT code =
            one.edit == kReplace  ? session->Replace(array, value.get(), one.amc, one.vmc, one.smc)
            : one.edit == kInsert ? session->Insert(array, value.get(), one.amc, one.vmc, one.smc)
                                  : session->Delete(array, one.amc, one.vmc, one.smc);
        EXPECT_EQ(ErrorOf(code), ErrorFields());
        EXPECT_EQ(session.bufferText(), Marks(one.result));
        EXPECT_EQ(session.buffer.get(), before) << "edited in place";
    }
}

TEST_F(EmbeddedArrays, GiveTheirElements) {
    struct Case {
        long amc, vmc, smc;
        long count;  // of its parts between value marks
        Text element;
    };
    load(L"A^B]C\\D^E");
    const Case cases[] = {
        {0, 0, 0, 2, L"A^B]C\\D^E"},
        {2, 0, 0, 2, L"B]C\\D"},
        {2, 2, 0, 1, L"C\\D"},
        {2, 2, 2, 1, L"D"},
        {2, 0, 2, 2, L"B]C\\D"},
        {0, 1, 0, 0, L""},
        {4, 0, 0, 0, L""},
        {-1, 0, 0, 0, L""},
        {2147483647, 2147483647, 2147483647, 0, L""},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        Bstr element(L"stale");
        SysFreeString(element.detach());
        EXPECT_EQ(
            session->Extract(session.buffer.inOut(), one.amc, one.vmc, one.smc, element.put()),
            S_OK);
        EXPECT_EQ(element.view(), Marks(one.element));
        EXPECT_NE(element.get(), nullptr) << "an empty text is a text";
        long count = 77;
        EXPECT_EQ(
            session->Dcount(
                Bstr(L"\xFD").get(), session.buffer.inOut(), one.amc, one.vmc, one.smc, &count),
            S_OK);
        EXPECT_EQ(count, one.count);
    }
}

TEST_F(EmbeddedArrays, LocateElementsInTheirOrder) {
    struct Case {
        Text array;
        Text search;
        long amc, vmc;
        Text sortBy;
        bool found;
        long pos;
    };
    const Case cases[] = {
        {L"A^B^C", L"B", 0, 0, L"", true, 2},
        {L"A^B^C", L"b", 0, 0, L"", false, 4},
        {L"x^A]B]D", L"D", 2, 0, L"", true, 3},
        {L"x^A]B]D", L"C", 2, 0, L"AL", false, 3},
        {L"x^D]B]A", L"C", 2, 0, L"DL", false, 2},
        {L"x^1]9]10", L"5", 2, 0, L"AR", false, 2},
        {L"x^1]9]10", L"10", 2, 0, L"AR", true, 3},
        {L"x^a\\b\\c", L"c", 2, 1, L"", true, 3},
        {L"", L"A", 0, 0, L"", false, 1},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(&one - cases);
        load(one.array);
        long pos = -77;
        VARIANT_BOOL found = VARIANT_FALSE;
        EXPECT_EQ(session->Locate(session.buffer.inOut(),
                                  &pos,
                                  Bstr(one.search).get(),
                                  one.amc,
                                  one.vmc,
                                  Bstr(one.sortBy).get(),
                                  &found),
                  S_OK);
        EXPECT_EQ(found != VARIANT_FALSE, one.found);
        EXPECT_EQ(pos, one.pos);
    }
}

TEST_F(EmbeddedArrays, AreTheBackEndsOwnObjects) {
    load(L"A");
    const ComPtr<IDispatch> own = session.buffer;
    Bstr text;
    long number = 77;
    VARIANT_BOOL found = VARIANT_TRUE;
    struct Case {
        const wchar_t* member;
        std::function<HRESULT(IDispatch**)> call;
    };
    const Case cases[] = {
        {L"Extract",
         [&](IDispatch** array) { return session->Extract(array, 1, 0, 0, text.put()); }},
        {L"Replace", [&](IDispatch** array) { return session->Replace(array, nullptr, 1, 0, 0); }},
        {L"Insert", [&](IDispatch** array) { return session->Insert(array, nullptr, 1, 0, 0); }},
        {L"Delete", [&](IDispatch** array) { return session->Delete(array, 1, 0, 0); }},
        {L"Locate",
         [&](IDispatch** array) {
             return session->Locate(array, &number, nullptr, 0, 0, nullptr, &found);
         }},
        {L"Dcount",
         [&](IDispatch** array) { return session->Dcount(nullptr, array, 0, 0, 0, &number); }},
    };
    for (const Case& one : cases) {
        SCOPED_TRACE(Narrow(one.member));
        const ErrorFields refused{automation::kTypeMismatch,
                                  Text(L"kelos1::") + one.member,
                                  L"The object is no record buffer of this back-end."};
        IDispatch* nothing = nullptr;
        IDispatch* foreign = session.get();
        EXPECT_EQ(ErrorOf(one.call(&nothing)), refused);
        EXPECT_EQ(ErrorOf(one.call(&foreign)), refused);
        EXPECT_EQ(one.call(nullptr), E_POINTER);
        EXPECT_EQ(text.get(), nullptr);
    }
    EXPECT_EQ(number, 0) << "by the last failure";
    EXPECT_EQ(found, VARIANT_FALSE);
    EXPECT_EQ(session.bufferText(), L"A");
}

}  // namespace
}  // namespace kel::tests
