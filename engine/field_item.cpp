// Reading a dictionary item, without making strings where it is one of ours.
#include "engine/field_item.h"

#include <limits>

#include "kelEngine.h"

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

Position Position::Of(long amc, long vmc, long smc) {
    return {Narrow(amc), Narrow(vmc), Narrow(smc)};
}

FieldItem::Address FieldItem::address() const {
    if (const auto own = item_.as<IDictItemState>()) {
        LPWSTR name = nullptr;
        long units = 0;
        long amc = 0;
        long vmc = 0;
        long smc = 0;
        automation::Check(own->GetAddress(&name, &units, &amc, &vmc, &smc));
        return {Text(name, static_cast<std::size_t>(units)), Position::Of(amc, vmc, smc)};
    }
    const auto read = [&](HRESULT (STDMETHODCALLTYPE _kelDictItem::*getter)(long*)) {
        return automation::GetNumber(*item_, getter);
    };
    return {keyId(),
            Position::Of(read(&_kelDictItem::get_AMC),
                         read(&_kelDictItem::get_VMC),
                         read(&_kelDictItem::get_SMC))};
}

Text RequireKey(TextView keyId, const wchar_t* source) {
    constexpr long kNoKeyId = automation::kObjectError + 1;
    if (keyId.empty()) {
        throw Error(kNoKeyId, source, L"No Key Id");
    }
    return automation::Lower(keyId);
}

}  // namespace kel::engine
