// What the standard library does not tell about files, or does not do without overwriting.
#pragma once

#include <cstdint>

#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

// What a path means once every link on the way is followed.
struct FileFacts {
    enum class Kind { kMissing, kFile, kFolder, kOther };

    Kind kind = Kind::kMissing;
    // Absolute, without links; of a missing file: where it would be, and as given when its folder
    // is missing too.
    text::Text path;
    std::uintmax_t bytes = 0;  // of a file
    std::uintmax_t names = 1;  // of a file: the folder entries it has, its hard links
    bool isLinkToNothing = false;
    bool isRemote = false;  // on another machine
};

// Throws text::Error (kCannotOpen) when the system does not tell.
FileFacts FactsOf(const text::Text& path);

// Makes an empty file; false when anything of the name is there already. Throws kCannotOpen.
bool CreateNewFile(const text::Text& path);

// False, with nothing changed, when anything is at `to` already. Throws kInputOutput.
bool RenameToNew(const text::Text& from, const text::Text& to);

}  // namespace kel::embedded
