#include "tests/backend/opaque.h"

#include <array>

#include "automation/module.h"

namespace kel::tests {
namespace {

constexpr IID kOpaqueIid = {
    0x5f1a8f0e, 0x2b6d, 0x4c0c, {0x9d, 0x58, 0x31, 0x6a, 0xe0, 0x77, 0x0b, 0x42}};

constexpr std::array kNames = {L"array#", L"file#", L"list#"};

std::array<long, kNames.size()> liveObjects;
std::array<long, kNames.size()> lastNumbers;

std::size_t Index(Opaque::Kind kind) {
    return static_cast<std::size_t>(kind);
}

}  // namespace

Opaque::Opaque(Kind itsKind) : kind(itsKind), number(++lastNumbers[Index(itsKind)]) {
    ++liveObjects[Index(kind)];
    automation::ModuleLocks::add();
}

Opaque::~Opaque() {
    --liveObjects[Index(kind)];
    automation::ModuleLocks::remove();
}

ComPtr<Opaque> Opaque::Make(Kind kind) {
    return ComPtr<Opaque>::Adopt(new Opaque(kind));
}

Opaque* Opaque::From(IUnknown* object) {
    void* found = nullptr;
    if (object == nullptr || FAILED(object->QueryInterface(kOpaqueIid, &found))) {
        return nullptr;
    }
    auto* const opaque = static_cast<Opaque*>(found);
    opaque->Release();
    return opaque;
}

Text Opaque::NameOf(IUnknown* object) {
    if (object == nullptr) {
        return L"Nothing";
    }
    const Opaque* const opaque = From(object);
    return opaque == nullptr ? L"object"
                             : kNames[Index(opaque->kind)] + std::to_wstring(opaque->number);
}

long Opaque::Live(Kind kind) {
    return liveObjects[Index(kind)];
}

void Opaque::RestartNumbers() {
    lastNumbers = {};
}

STDMETHODIMP Opaque::QueryInterface(REFIID iid, void** object) noexcept {
    const bool known = IsEqualIID(iid, IID_IUnknown) || IsEqualIID(iid, IID_IDispatch) ||
                       IsEqualIID(iid, kOpaqueIid);
    *object = known ? this : nullptr;
    if (!known) {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

STDMETHODIMP_(ULONG) Opaque::Release() noexcept {
    const ULONG left = --references_;
    if (left == 0) {
        delete this;
    }
    return left;
}

STDMETHODIMP Opaque::GetTypeInfoCount(UINT* count) noexcept {
    *count = 0;
    return S_OK;
}

}  // namespace kel::tests
