// The contract of record buffers as it shows at the interface. The rules themselves are tested with
// the portable library.
#include <gtest/gtest.h>

#include "tests/embedded/embedded_session.h"

namespace kel::tests {
namespace {

class EmbeddedArrays : public testing::Test {
protected:
    EmbeddedSession session;
};

// Each argument arrives where it belongs; editing is in place.
TEST_F(EmbeddedArrays, AreAddressedByAllTheirNumbers) {
    session.setBuffer(
        L"A\xFE"
        L"B\xFD"
        L"C\xFC"
        L"D\xFE"
        L"E");
    IDispatch* const before = session.buffer.get();
    IDispatch** const array = session.buffer.inOut();
    const Bstr x(L"X");
    EXPECT_EQ(session->Replace(array, x.get(), 2, 2, 1), S_OK);
    EXPECT_EQ(session->Insert(array, x.get(), 2, 2, 3), S_OK);
    EXPECT_EQ(session->Delete(array, 2, 2, 2), S_OK);
    EXPECT_EQ(session.bufferText(),
              L"A\xFE"
              L"B\xFD"
              L"X\xFC"
              L"X\xFE"
              L"E");
    EXPECT_EQ(session.buffer.get(), before);
    Bstr element;
    EXPECT_EQ(session->Extract(array, 2, 1, 0, element.put()), S_OK);
    EXPECT_EQ(element.view(), L"B");
    long count = 77;
    EXPECT_EQ(session->Dcount(Bstr(L"\xFC").get(), array, 2, 2, 0, &count), S_OK);
    EXPECT_EQ(count, 2);
    long pos = 77;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(session->Locate(array, &pos, Bstr(L"W").get(), 2, 2, Bstr(L"AL").get(), &found),
              S_OK);
    EXPECT_EQ(found, VARIANT_FALSE);
    EXPECT_EQ(pos, 1);
    EXPECT_EQ(session->Locate(array, &pos, Bstr(L"X").get(), 2, 0, nullptr, &found), S_OK);
    EXPECT_EQ(pos, 3) << "no value is X alone";
}

TEST_F(EmbeddedArrays, AreTheBackEndsOwnObjects) {
    Bstr text;
    const auto extract = [&](IDispatch** array) {
        return session->Extract(array, 1, 0, 0, text.put());
    };
    const ErrorFields refused{automation::kTypeMismatch,
                              L"kelos1::Extract",
                              L"The object is no record buffer of this back-end."};
    IDispatch* nothing = nullptr;
    IDispatch* foreign = session.get();
    EXPECT_EQ(ErrorOf(extract(&nothing)), refused);
    EXPECT_EQ(ErrorOf(extract(&foreign)), refused);
    EXPECT_EQ(extract(nullptr), E_POINTER);
    EXPECT_EQ(text.get(), nullptr);
    EXPECT_EQ(ErrorOf(session->Delete(&nothing, 1, 0, 0)).source, L"kelos1::Delete");
}

}  // namespace
}  // namespace kel::tests
