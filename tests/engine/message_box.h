// What the component would show to the user.
#pragma once

#include "tests/backend/test_backend.h"

namespace kel::tests {

// Takes the place of the message boxes of this program while it lives: they are written down as
// "title: text" and answered at once.
class MessageBoxRecorder {
public:
    MessageBoxRecorder();
    MessageBoxRecorder(const MessageBoxRecorder&) = delete;
    MessageBoxRecorder& operator=(const MessageBoxRecorder&) = delete;
    ~MessageBoxRecorder();

    Lines take() const;
};

}  // namespace kel::tests
