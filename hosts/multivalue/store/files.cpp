// Files as sentences and dictionaries name them.
#include "hosts/multivalue/store/files.h"

#include <optional>

#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::store {

Text DictionaryFileName(TextView file) {
    return Text(kDictionaryPrefix).append(file);
}

NamedFile RequireFile(Store& store, TextView name) {
    // What cannot be a name is no file, whatever the reason.
    if (!name.empty() && name.size() <= kMaxFileName) {
        if (const std::optional<FileNumber> file = store.FindFile(name)) {
            return {*file, Text(name)};
        }
        Text upper;
        AppendUpper(name, upper);
        if (const std::optional<FileNumber> file = store.FindFile(upper)) {
            return {*file, upper};
        }
    }
    throw Error(ErrorKind::kNoSuchFile, Text(u"There is no file \"").append(name).append(u"\"."));
}

}  // namespace kel::store
