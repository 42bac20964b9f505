// Files as sentences and dictionaries name them.
#pragma once

#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/text.h"

namespace kel::store {

// The file that holds the dictionary of `file`.
Text DictionaryFileName(TextView file);

// A file by its name as written, else in capitals. Raises kNoSuchFile.
struct NamedFile {
    FileNumber number{};
    Text name;  // as the store has it
};
NamedFile RequireFile(Store& store, TextView name);

}  // namespace kel::store
