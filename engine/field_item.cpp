#include "engine/field_item.h"

#include <limits>

namespace kel::engine {

using automation::Error;

namespace {

short Narrow(long position) {
    if (position < std::numeric_limits<short>::min() ||
        position > std::numeric_limits<short>::max()) {
        throw Error(automation::kOverflow);
    }
    return static_cast<short>(position);
}

}  // namespace

FieldItem::FieldItem(IDispatch* item) : item_(ComPtr<IDispatch>(item).as<_kelDictItem>()) {
    if (!item_) {
        throw Error(item == nullptr ? automation::kObjectNotSet : automation::kTypeMismatch);
    }
}

Position Position::Of(const FieldItem& item) {
    const auto read = [&](HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(long*)) {
        return Narrow(automation::GetNumber(item.object(), getter));
    };
    return {
        read(&_kelDictItem::get_AMC), read(&_kelDictItem::get_VMC), read(&_kelDictItem::get_SMC)};
}

Text RequireKey(TextView keyId, const wchar_t* source) {
    constexpr long kNoKeyId = automation::kObjectError + 1;
    if (keyId.empty()) {
        throw Error(kNoKeyId, source, L"No Key Id");
    }
    return automation::Lower(keyId);
}

}  // namespace kel::engine
