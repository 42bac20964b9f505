// Looking after an account as a whole, for stores that keep one somewhere: what the command level
// asks for.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::command {

class AccountKeeper {
public:
    struct Findings {
        std::vector<Text> lines;  // whole sentences for a user
        bool isSound = true;
    };

    virtual ~AccountKeeper() = default;

    // An empty path is the account of the session. Raise what keeps the account from being opened.
    virtual Findings Check(TextView path) = 0;
    // Sound: everything is, now.
    virtual Findings Repair(TextView path) = 0;
    // Copies the account of the session as it is at this moment. Raises kFileExists.
    virtual void Save(TextView target) = 0;
    // Gives back the space of what was deleted from the account of the session; returns how many
    // bytes.
    virtual std::uint64_t Compact() = 0;
};

}  // namespace kel::command
