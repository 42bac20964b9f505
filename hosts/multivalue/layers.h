// The layers of the library, from the lowest up: each uses the names of those below it as its own,
// and includes nothing of those above.
#pragma once

namespace kel {

namespace text {}

namespace number {
using namespace text;
}

namespace store {
using namespace text;
}

namespace conversion {
using namespace number;
using namespace store;
}  // namespace conversion

namespace expression {
using namespace conversion;
}

namespace query {
using namespace expression;
}

namespace command {
using namespace query;
}

}  // namespace kel
