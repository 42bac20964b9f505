#include "hosts/multivalue/store_surroundings.h"

#include <ctime>

#include "hosts/multivalue/calendar.h"
#include "hosts/multivalue/error.h"
#include "hosts/multivalue/text_functions.h"

namespace kel::multivalue {

namespace {

std::tm LocalTime() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
#ifdef _WIN32
    localtime_s(&local, &now);
#else
    localtime_r(&now, &local);
#endif
    return local;
}

}  // namespace

Text DictionaryFileName(TextView file) {
    return Text(u"DICT ").append(file);
}

bool CanBeId(TextView id) {
    return !id.empty() && id.size() <= kMaxIdUnits &&
           id.find_first_of(u"\u00FB\u00FC\u00FD\u00FE\u00FF") == TextView::npos;
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

std::int32_t StoreSurroundings::Today() const {
    const std::tm local = LocalTime();
    return static_cast<std::int32_t>(
        DayNumber({std::int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday}));
}

std::int32_t StoreSurroundings::SecondOfDay() const {
    const std::tm local = LocalTime();
    return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

std::optional<Text> StoreSurroundings::ReadRecord(TextView file, bool dictionary, TextView id) {
    const Text name = dictionary ? DictionaryFileName(file) : Text(file);
    if (!CanBeId(id)) {
        RequireFile(store_, name);
        return std::nullopt;
    }
    Text record;
    if (const auto known = files_.find(name); known != files_.end()) {
        try {
            return store_.Read(known->second, id, record) ? std::optional(std::move(record))
                                                          : std::nullopt;
        } catch (const Error& error) {
            if (error.kind() != ErrorKind::kNoSuchFile) {
                throw;
            }
            files_.erase(known);  // deleted; perhaps made anew under the same name
        }
    }
    const FileNumber number = RequireFile(store_, name).number;
    files_[name] = number;
    return store_.Read(number, id, record) ? std::optional(std::move(record)) : std::nullopt;
}

void StoreSurroundings::CallProgram(TextView name, std::vector<Text>& /*arguments*/) {
    throw Error(ErrorKind::kNoSuchProgram,
                Text(u"There is no program \"").append(name).append(u"\"."));
}

}  // namespace kel::multivalue
