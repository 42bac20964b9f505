// Files as sentences and dictionaries name them.
#pragma once

#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/text.h"

namespace kel::store {

// What stands in front of a file's name in that of its dictionary.
inline constexpr TextView kDictionaryPrefix = u"DICT ";

// A file as expressions name one: a name, or the prefix and a name for the dictionary.
struct FileReference {
    TextView file;
    bool isDictionary;
};
constexpr FileReference ReferenceOf(TextView name) {
    const bool isDictionary = name.starts_with(kDictionaryPrefix);
    return {isDictionary ? name.substr(kDictionaryPrefix.size()) : name, isDictionary};
}

// The file that holds the dictionary of `file`.
Text DictionaryFileName(TextView file);

// A file by its name as written, else in capitals. Raises kNoSuchFile.
struct NamedFile {
    FileNumber number{};
    Text name;  // as the store has it
};
NamedFile RequireFile(Store& store, TextView name);

}  // namespace kel::store
