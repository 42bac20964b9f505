// Whether something raises the error it should.
#pragma once

#include <gtest/gtest.h>

#include "hosts/multivalue/text/error.h"

namespace kel::test {

// The kind of the text::Error that `work` throws, and that its text names what it should.
template <typename Work>
testing::AssertionResult Throws(text::ErrorKind kind, text::TextView naming, Work work) {
    try {
        work();
    } catch (const text::Error& error) {
        if (error.kind() != kind) {
            return testing::AssertionFailure()
                   << "kind " << static_cast<int>(error.kind()) << ": " << error.what();
        }
        if (error.text().find(naming) == text::Text::npos) {
            return testing::AssertionFailure() << "does not name its object: " << error.what();
        }
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure() << "nothing thrown";
}

}  // namespace kel::test
