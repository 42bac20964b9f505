// The environment of an account: files of its store, the system's clock.
#include "hosts/multivalue/conversion/store_environment.h"

#include <ctime>

#include "hosts/multivalue/number/calendar.h"
#include "hosts/multivalue/store/files.h"
#include "hosts/multivalue/store/id_rules.h"
#include "hosts/multivalue/text/error.h"
#include "hosts/multivalue/text/functions.h"

namespace kel::conversion {

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

std::int32_t StoreEnvironment::Today() const {
    const std::tm local = LocalTime();
    return static_cast<std::int32_t>(
        DayNumber(std::chrono::year(local.tm_year + 1900) /
                  std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)) / local.tm_mday));
}

std::int32_t StoreEnvironment::SecondOfDay() const {
    const std::tm local = LocalTime();
    return (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
}

std::optional<Text> StoreEnvironment::ReadRecord(TextView file, bool dictionary, TextView id) {
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

void StoreEnvironment::CallProgram(TextView name, std::vector<Text>& /*arguments*/) {
    throw Error(ErrorKind::kNoSuchProgram,
                Text(u"There is no program \"").append(name).append(u"\"."));
}

}  // namespace kel::conversion
