#include "tests/embedded/embedded_session.h"

namespace kel::tests {

EmbeddedTest::EmbeddedTest() {
    EXPECT_EQ(session.connect(account), ErrorFields());
    EXPECT_EQ(session.execute(L"CREATE-FILE CUST"), L"417: File \"CUST\" created.");
    session.file = session.open(L"CUST");
    EXPECT_EQ(session.lastError, ErrorFields());
}

}  // namespace kel::tests
