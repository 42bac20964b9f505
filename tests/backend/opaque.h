// The objects that the test back-end hands out: record buffers, file variables, select lists.
// Opaque to everybody else: they have no members to call.
#pragma once

#include <array>
#include <vector>

#include "hosts/multivalue/text/dynamic_array.h"
#include "tests/backend/test_backend.h"
#include "tests/support/mute_object.h"

namespace kel::tests {

class Opaque final : public MuteObject {
public:
    enum class Kind { kArray, kFile, kList };

    static ComPtr<Opaque> Make(Kind kind);
    // The object behind a reference, when it is one of ours; borrowed.
    static Opaque* From(IUnknown* object);
    static Text NameOf(IUnknown* object);
    static long Live(Kind kind) { return live_[static_cast<std::size_t>(kind)]; }
    static void RestartNumbers() { last_ = {}; }

    const Kind kind;
    const long number;

    text::DynamicArray array;  // of a record buffer
    Text file;                 // of a file variable
    long host = 0;             // the back-end object that opened it
    std::vector<Text> ids;     // of a select list
    std::size_t next = 0;
    bool isOpen = true;

private:
    explicit Opaque(Kind itsKind);
    ~Opaque() override { --live_[static_cast<std::size_t>(kind)]; }
    bool answers(REFIID iid) const noexcept override;

    inline static std::array<long, 3> live_;
    inline static std::array<long, 3> last_;
};

inline text::TextView Units(TextView text) {
    static_assert(sizeof(wchar_t) == sizeof(char16_t));
    return {reinterpret_cast<const char16_t*>(text.data()), text.size()};
}
inline Text FromUnits(text::TextView text) {
    return {reinterpret_cast<const wchar_t*>(text.data()), text.size()};
}

}  // namespace kel::tests
