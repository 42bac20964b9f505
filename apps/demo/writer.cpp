// The writer that may be ended at any moment, and the check of what it left.
//
// The records are a ring of kSlots: generation g is written into slot g modulo kSlots. The whole
// text of a record follows from writer and generation and is some pages of the database long, so
// that half a write could not go unnoticed; and since generations are written one after the other,
// the newest one tells which generation every other slot must hold.
#include <algorithm>
#include <optional>

#include "apps/demo/account.h"
#include "apps/demo/report.h"
#include "apps/demo/sub_commands.h"

namespace kel::demo {
namespace {

constexpr const wchar_t* kFile = L"GENERATIONS";
constexpr const wchar_t* kKeyId = L"Generation";
constexpr long kSlots = 50;
constexpr short kLockedByOther = 2;

Text IdOf(const Text& writer, long slot) {
    return writer + L"-" + std::to_wstring(slot);
}

// 1 generation, 2 writer, 3 ... lines of text.
Text TextOf(const Text& writer, long generation) {
    std::vector<Text> attributes{std::to_wstring(generation), writer};
    const long lines = 20 + generation * 37 % 400;
    for (long line = 1; line <= lines; ++line) {
        attributes.push_back(std::to_wstring(generation) + L" line " + std::to_wstring(line) +
                             L" of " + std::to_wstring(lines) +
                             L" \u00E9\u20AC\U0001F1E8\U0001F1ED");
    }
    return Join(attributes, kAttributeMark);
}

long NumberIn(const Text& text) {
    return std::wcstol(text.c_str(), nullptr, 10);
}

// The record of a slot; empty when it was never written.
Text ReadSlot(const Tools& tools, const Text& writer, long slot) {
    tools.mvRead(kKeyId, IdOf(writer, slot), kFile);
    return tools.Extract(kKeyId, 0);
}

// The newest generation of a writer; 0 when there is none.
long NewestGeneration(const Tools& tools, const Text& writer) {
    long newest = 0;
    for (long slot = 0; slot < kSlots; ++slot) {
        ReadSlot(tools, writer, slot);
        newest = std::max(newest, NumberIn(tools.Extract(kKeyId, 1)));
    }
    return newest;
}

// The generation that a slot holds when `newest` was the last one written; 0 for an unused slot.
long ExpectedIn(long slot, long newest) {
    const long age = (newest - slot + kSlots) % kSlots;
    return std::max(newest - age, 0L);
}

}  // namespace

int RunWriter(const Text& accountPath, long count, const Text& name) {
    const Account account(accountPath);
    const Tools& tools = account.tools();
    EnsureFile(tools, kFile);
    const DictItem key({.keyId = kKeyId, .session = kAccountSession, .controlName = L""});
    key.FileName(kFile);
    key.ReadU(true);
    key.UpdateOnly(true);

    const long first = NewestGeneration(tools, name) + 1;
    for (long generation = first; generation < first + count; ++generation) {
        const Text id = IdOf(name, generation % kSlots);
        key.ExternalValue(0, id);
        if (key.ReadRecord() == kLockedByOther) {
            PrintError(L"demo: " + id + L" is locked by another process");
            return kLocked;
        }
        tools.Replace(kKeyId, TextOf(name, generation), 0, 0, 0);
        tools.mvWrite(kKeyId, id, kFile);
        PrintLine(L"written " + std::to_wstring(generation));
    }
    return kDone;
}

int CheckWriter(const Text& accountPath, long atLeast, const Text& name) {
    const Account account(accountPath);
    const Tools& tools = account.tools();
    EnsureFile(tools, kFile);
    const long newest = NewestGeneration(tools, name);
    bool good = newest >= atLeast;
    if (!good) {
        PrintLine(L"generation " + std::to_wstring(atLeast) + L" was reported, but the newest is " +
                  std::to_wstring(newest));
    }
    for (long slot = 0; slot < kSlots; ++slot) {
        const Text text = ReadSlot(tools, name, slot);
        const long expected = ExpectedIn(slot, newest);
        if (text == (expected == 0 ? Text() : TextOf(name, expected))) {
            continue;
        }
        good = false;
        const long generation = NumberIn(tools.Extract(kKeyId, 1));
        PrintLine(IdOf(name, slot) + (generation != 0 && text == TextOf(name, generation)
                                          ? L" holds generation " + std::to_wstring(generation) +
                                                L" and should hold " + std::to_wstring(expected)
                                          : L" holds no whole generation"));
    }
    PrintLine(good ? L"every record is whole, generations up to " + std::to_wstring(newest)
                   : L"the records are not as they ought to be");
    return good ? kDone : kFailed;
}

}  // namespace kel::demo
