// What a check finds, in the form that a repair goes on from.
#pragma once

#include <initializer_list>
#include <utility>
#include <vector>

#include "hosts/embedded/store/maintenance.h"

namespace kel::embedded {

struct AccountFindings {
    AccountReport report;
    bool damaged = false;  // beyond indexes: the account has to be copied
    std::vector<std::pair<store::FileNumber, text::Text>> indexes;  // stale or wrong
};

AccountFindings FindFaults(text::TextView path, const IndexKeysMaker& keys);

text::Text Sentence(std::initializer_list<text::TextView> parts);

// Adds a line to a part of the report unless that is long enough already.
void AddLine(std::vector<text::Text>& lines, text::Text line);

}  // namespace kel::embedded
