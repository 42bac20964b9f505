#include "tests/backend/opaque.h"

namespace kel::tests {
namespace {

constexpr IID kOpaqueIid = {
    0x5f1a8f0e, 0x2b6d, 0x4c0c, {0x9d, 0x58, 0x31, 0x6a, 0xe0, 0x77, 0x0b, 0x42}};

constexpr std::array kPrefixes = {L"array#", L"file#", L"list#"};

}  // namespace

Opaque::Opaque(Kind itsKind) : kind(itsKind), number(++last_[static_cast<std::size_t>(itsKind)]) {
    ++live_[static_cast<std::size_t>(kind)];
}

bool Opaque::answers(REFIID iid) const noexcept {
    return MuteObject::answers(iid) || IsEqualIID(iid, kOpaqueIid);
}

ComPtr<Opaque> Opaque::Make(Kind kind) {
    return ComPtr<Opaque>::Adopt(new Opaque(kind));
}

Opaque* Opaque::From(IUnknown* object) {
    void* found = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(kOpaqueIid, &found))) {
        return nullptr;
    }
    auto* const opaque = static_cast<Opaque*>(static_cast<IDispatch*>(found));
    opaque->Release();
    return opaque;
}

Text Opaque::NameOf(IUnknown* object) {
    if (object == nullptr) {
        return L"Nothing";
    }
    const Opaque* const opaque = From(object);
    return opaque == nullptr ? L"object"
                             : kPrefixes[static_cast<std::size_t>(opaque->kind)] +
                                   std::to_wstring(opaque->number);
}

}  // namespace kel::tests
