#include "tests/engine/message_box.h"

#include <windows.h>

#include <utility>

// The program's own entry for the routine: every call in it goes through here.
#ifdef _WIN64
extern "C" void* messageBoxEntry __asm__("__imp_MessageBoxW");
#else
extern "C" void* messageBoxEntry __asm__("__imp__MessageBoxW@16");
#endif

namespace kel::tests {
namespace {

Lines shown;

int WINAPI Record(HWND, LPCWSTR text, LPCWSTR title, UINT) {
    shown.push_back(Text(title) + L": " + text);
    return IDOK;
}

void* Replace(void* routine) {
    DWORD protection = 0;
    VirtualProtect(&messageBoxEntry, sizeof(void*), PAGE_READWRITE, &protection);
    void* const former = std::exchange(messageBoxEntry, routine);
    VirtualProtect(&messageBoxEntry, sizeof(void*), protection, &protection);
    return former;
}

void* original = nullptr;

}  // namespace

MessageBoxRecorder::MessageBoxRecorder() {
    shown.clear();
    original = Replace(reinterpret_cast<void*>(&Record));
}

MessageBoxRecorder::~MessageBoxRecorder() {
    Replace(original);
    shown.clear();
    shown.shrink_to_fit();
}

Lines MessageBoxRecorder::take() const {
    return std::exchange(shown, {});
}

}  // namespace kel::tests
