// The message box that a failing stored program shows: found on a real desktop by a second thread,
// read and closed, while the engine's call waits in it.
#include <gtest/gtest.h>

#include <thread>

#include "client/dict_item.h"
#include "engine/dbms.h"
#include "registry/thread_registry.h"
#include "tests/support/errors.h"

namespace kel::tests {
namespace {

constexpr const wchar_t* kTitle = L"Calling Host Program";

// Waits for the box, takes its text and presses OK. "" when no box came.
Text ReadAndClose() {
    constexpr DWORD kPatienceMs = 30000;
    constexpr DWORD kNapMs = 50;
    constexpr int kTextId = 0xFFFF;
    for (DWORD waited = 0; waited < kPatienceMs; waited += kNapMs) {
        if (const HWND box = FindWindowW(L"#32770", kTitle)) {
            const HWND label = GetDlgItem(box, kTextId);
            const HWND button = GetDlgItem(box, IDOK);
            Text text(1000, L'\0');
            text.resize(static_cast<std::size_t>(
                GetWindowTextW(label, text.data(), static_cast<int>(text.size()))));
            if (button != nullptr && !text.empty()) {
                PostMessageW(box, WM_COMMAND, IDOK, reinterpret_cast<LPARAM>(button));
                return text;
            }
        }
        Sleep(kNapMs);
    }
    return {};
}

TEST(HostCallMessageBox, NamesProgramSourceNumberAndDescription) {
    ASSERT_TRUE(registry::ThreadRegistry::AttachProcess());
    const auto engine = automation::Make<engine::Dbms>(L"S");
    const auto item = automation::Make<client::DictItem>();  // of no key field
    Text text;
    std::thread user([&] { text = ReadAndClose(); });
    Variant extra;
    Bstr value(L"kept");
    const Bstr program(L"CHECK.CUST");
    const HRESULT code =
        engine->CallHost(item.get(), program.get(), extra.inOut(), value.inOut(), VARIANT_TRUE);
    user.join();
    EXPECT_EQ(code, S_OK);
    EXPECT_EQ(value.view(), L"kept");
    EXPECT_EQ(text,
              L"Calling Host Program: CHECK.CUST\r\n"
              L"Source: mvDBMS::CallHost\r\n"
              L"Error Number: -2147221503\r\n"
              L"Description: No Key Id");
}

}  // namespace
}  // namespace kel::tests
