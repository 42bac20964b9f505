// What conversions, expressions and sentences need to know of the world around them: the account's
// family and date order, the clock, other files, stored programs.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "hosts/multivalue/text/text.h"

namespace kel::conversion {

// The two families of multivalue databases; where they differ, the account's own holds.
enum class Family { kUni, kR83 };

enum class DateOrder { kMonthFirst, kDayFirst };

class Environment {
public:
    virtual ~Environment() = default;

    virtual Family OwnFamily() const = 0;
    virtual DateOrder OwnDateOrder() const = 0;

    // Days since 31 December 1967, and seconds since midnight, both local.
    virtual std::int32_t Today() const = 0;
    virtual std::int32_t SecondOfDay() const = 0;

    // A record of a file, or of its dictionary. Empty when there is no such record; a file that is
    // not there raises kNoSuchFile.
    virtual std::optional<Text> ReadRecord(TextView file, bool dictionary, TextView id) = 0;

    // A field of the record being worked on, 0 being its id, for the codes that name fields (S, C).
    // Empty where no record is worked on.
    virtual Text FieldOfRecord(std::int32_t /*number*/) { return {}; }

    // Calls a stored program, which may change the arguments. Raises what the program raises, and
    // kNoSuchProgram when there is none of the name.
    virtual void CallProgram(TextView name, std::vector<Text>& arguments) = 0;
};

}  // namespace kel::conversion
