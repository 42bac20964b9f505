// A thread with a single-threaded apartment of its own that serves calls from others.
#pragma once

#include <windows.h>

#include <objbase.h>

#include <functional>
#include <future>
#include <thread>

#include "tests/support/values.h"

namespace kel::tests {

class OtherApartment {
public:
    OtherApartment() {
        std::promise<DWORD> ready;
        auto id = ready.get_future();
        thread_ = std::thread([&ready] { Serve(ready); });
        id_ = id.get();
    }
    OtherApartment(const OtherApartment&) = delete;
    OtherApartment& operator=(const OtherApartment&) = delete;
    ~OtherApartment() {
        PostThreadMessageW(id_, WM_QUIT, 0, 0);
        thread_.join();
    }

    DWORD threadId() const { return id_; }

    // Runs `work` there while this thread waits; the objects it uses must not be this thread's.
    void run(std::function<void()> work) const {
        Task task{std::move(work), {}};
        auto done = task.done.get_future();
        PostThreadMessageW(id_, kRun, 0, reinterpret_cast<LPARAM>(&task));
        done.get();
    }

    // An object made there, to be called from here.
    HRESULT create(REFCLSID clsid, REFIID iid, void** object) const {
        ComPtr<IStream> stream;
        HRESULT code = S_OK;
        run([&] {
            ComPtr<IUnknown> made;
            code = CoCreateInstance(clsid,
                                    nullptr,
                                    CLSCTX_INPROC_SERVER,
                                    IID_IUnknown,
                                    reinterpret_cast<void**>(made.put()));
            if (SUCCEEDED(code)) {
                code = CoMarshalInterThreadInterfaceInStream(iid, made.get(), stream.put());
            }
        });
        return FAILED(code) ? code : CoGetInterfaceAndReleaseStream(stream.detach(), iid, object);
    }

private:
    static constexpr UINT kRun = WM_APP + 17;

    struct Task {
        std::function<void()> work;
        std::promise<void> done;
    };

    static void Serve(std::promise<DWORD>& ready) {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        MSG message{};
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);  // makes the queue
        ready.set_value(GetCurrentThreadId());
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            if (message.hwnd == nullptr && message.message == kRun) {
                auto* task = reinterpret_cast<Task*>(message.lParam);
                task->work();
                task->done.set_value();
            } else {
                DispatchMessageW(&message);
            }
        }
        CoUninitialize();
    }

    std::thread thread_;
    DWORD id_ = 0;
};

}  // namespace kel::tests
