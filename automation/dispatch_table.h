// The tables by which objects answer calls by name: per interface, each member with its names, its
// kind, its parameters and a function that makes the call. They are constants made from the IDL
// when the component is built (idl/tools/dispatch_tables.py); a test holds them against the type
// library.
#pragma once

#include <windows.h>

#include <oaidl.h>

#include <array>
#include <bit>
#include <cstdint>
#include <span>
#include <string_view>

namespace kel::automation {

class DispatchCall;

struct DispatchParameter {
    const wchar_t* name;
    bool isOptional;
    long defaultNumber;  // of a number left out; texts left out are empty
};

// One member, or one of the accessors that make up a property.
struct DispatchMember {
    DISPID id;
    WORD kind;  // one of DISPATCH_METHOD, _PROPERTYGET, _PROPERTYPUT, _PROPERTYPUTREF
    const wchar_t* name;
    std::span<const DispatchParameter> parameters;  // without the result
    bool mayGiveObject;  // whether the result is an object, or a Variant that may hold one
    // Converts the arguments, calls the member, gives the results back.
    //   object  borrowed; must be of the interface that the table is for
    HRESULT (*call)(IDispatch* object, DispatchCall& call);
};

template <std::size_t count>
using Members = std::array<DispatchMember, count>;  // in the order of identifiers

// A member's name without its case. Published names are ASCII; other letters stand for themselves.
constexpr wchar_t FoldCase(wchar_t unit) noexcept {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
}

// FNV-1a over the name without its case.
//   source  Fowler, Noll, Vo: 32-bit offset basis and prime
constexpr std::uint32_t NameHash(const wchar_t* name) noexcept {
    std::uint32_t hash = 2166136261U;
    for (; *name != L'\0'; ++name) {
        hash = (hash ^ static_cast<std::uint32_t>(FoldCase(*name))) * 16777619U;
    }
    return hash;
}

constexpr bool SameName(const wchar_t* one, const wchar_t* other) noexcept {
    for (; FoldCase(*one) == FoldCase(*other); ++one, ++other) {
        if (*one == L'\0') {
            return true;
        }
    }
    return false;
}

// Positions in a table.
template <std::size_t size>
using MemberPositions = std::array<std::uint8_t, size>;
inline constexpr std::uint8_t kNoMember = 0xFF;

// Where each name's first member stands, for open addressing by NameHash; at most half full.
template <std::size_t count>
consteval auto NamePositions(const Members<count>& members) {
    static_assert(count < kNoMember);
    MemberPositions<std::bit_ceil(2 * count)> slots;
    slots.fill(kNoMember);
    for (std::size_t i = 0; i < count; ++i) {
        std::size_t at = NameHash(members[i].name) % slots.size();
        while (slots[at] != kNoMember && !SameName(members[slots[at]].name, members[i].name)) {
            at = (at + 1) % slots.size();
        }
        if (slots[at] == kNoMember) {
            slots[at] = static_cast<std::uint8_t>(i);
        }
    }
    return slots;
}

// Where each identifier's first member stands, from the lowest one on: they follow one another.
template <const auto& members>
consteval auto IdPositions() {
    constexpr DISPID kLowest = members.front().id;
    MemberPositions<static_cast<std::size_t>(members.back().id - kLowest + 1)> firsts;
    firsts.fill(kNoMember);
    for (std::size_t i = members.size(); i-- > 0;) {
        firsts[static_cast<std::size_t>(members[i].id - kLowest)] = static_cast<std::uint8_t>(i);
    }
    return firsts;
}

class DispatchTable {
public:
    constexpr DispatchTable(std::span<const DispatchMember> members,
                            std::span<const std::uint8_t> names,
                            std::span<const std::uint8_t> ids) noexcept
        : members_(members), slots_(names), firsts_(ids) {}

    std::span<const DispatchMember> members() const noexcept { return members_; }

    // The accessors of a property, or the one entry of a method; empty for what is not there.
    std::span<const DispatchMember> find(DISPID id) const noexcept;
    std::span<const DispatchMember> find(const wchar_t* name) const noexcept;

private:
    std::span<const DispatchMember> from(std::size_t first) const noexcept;

    std::span<const DispatchMember> members_;
    std::span<const std::uint8_t> slots_;
    std::span<const std::uint8_t> firsts_;
};

// The table of a dual interface; defined by the tables made from its IDL.
template <typename Dual>
const DispatchTable& TableOf() noexcept;

}  // namespace kel::automation
