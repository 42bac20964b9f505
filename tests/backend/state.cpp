#include "tests/backend/state.h"

namespace kel::tests {
namespace {

template <typename Map>
auto Find(const Map& map, const typename Map::key_type& key)
    -> std::optional<typename Map::mapped_type> {
    const auto found = map.find(key);
    return found != map.end() ? std::optional(found->second) : std::nullopt;
}

}  // namespace

State& TheState() {
    static State state;
    return state;
}

long State::enter() {
    ++liveHosts_;
    return ++lastHost_;
}

void State::leave(long host, bool isConnected) {
    releasedConnected_ += isConnected ? 1 : 0;
    --liveHosts_;
    std::erase_if(lockHolders, [&](const auto& entry) { return entry.second == host; });
}

bool State::lock(const RecordName& record, long host) {
    return lockHolders.try_emplace(record, host).first->second == host;
}

void State::unlock(const RecordName& record, long host) {
    const auto found = lockHolders.find(record);
    if (found != lockHolders.end() && found->second == host) {
        lockHolders.erase(found);
    }
}

void State::reset() {
    script.reset();
    files.clear();
    lockHolders.clear();
    dictionary.clear();
    programs.clear();
    propertyTexts.clear();
    versions = {{kTestOsType, L"2.1"},
                {kOtherOsType, L"10.3"},
                {kOldOsType, L"1.9"},
                {kUndottedOsType, L"2"}};
    connectedAtStart = false;
    lastHost_ = 0;
    releasedConnected_ = 0;
    Opaque::RestartNumbers();
}

void State::addRule(Member member, When when, Phase phase, Handler handler) {
    script.addRule(member, 0, when, phase, std::move(handler));
}

void State::addCallRule(long number, Phase phase, Handler handler) {
    script.addRule({}, number, kOnce, phase, std::move(handler));
}

Text State::propertyValue(TextView name) const {
    return Find(propertyTexts, Text(name)).value_or(L"");
}

void State::putRecord(TextView file, TextView id, TextView text) {
    files[Text(file)][Text(id)] = text;
}

std::optional<Text> State::record(TextView file, TextView id) const {
    const auto found = files.find(Text(file));
    return found != files.end() ? Find(found->second, Text(id)) : std::nullopt;
}

void State::lockRecord(TextView file, TextView id, long host) {
    lockHolders[{Text(file), Text(id)}] = host;
}

Lines State::locks() const {
    Lines lines;
    for (const auto& [record, host] : lockHolders) {
        lines.push_back(record.first + L" " + record.second + L" " + std::to_wstring(host));
    }
    return lines;
}

void State::putDictItem(TextView file, TextView name, const DictItem& item) {
    createFile(file);
    dictionary[{Text(file), Text(name)}] = item;
}

std::optional<DictItem> State::dictItem(TextView file, TextView name) const {
    return Find(dictionary, {Text(file), Text(name)});
}

void State::putProgram(TextView name, Program program) {
    programs[Text(name)] = std::move(program);
}

LiveObjects State::live() const {
    return {liveHosts_,
            Opaque::Live(Opaque::Kind::kArray),
            Opaque::Live(Opaque::Kind::kFile),
            Opaque::Live(Opaque::Kind::kList)};
}

ComPtr<IDispatch> State::makeArray(TextView text) {
    const auto array = Opaque::Make(Opaque::Kind::kArray);
    array->array = text::DynamicArray(Units(text));
    return array;
}

std::optional<Text> State::arrayText(IUnknown* array) const {
    const Opaque* const opaque = Opaque::From(array);
    return opaque != nullptr && opaque->kind == Opaque::Kind::kArray
               ? std::optional(FromUnits(opaque->array.ToText()))
               : std::nullopt;
}

}  // namespace kel::tests
