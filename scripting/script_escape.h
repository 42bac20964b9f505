// The way out of a script that does not end, in an engine that cannot be interrupted: the thread is
// taken back to where the engine was entered, and the engine is left as it stands.
#pragma once

#include <windows.h>

#include <unknwn.h>

#include <atomic>

namespace kel::scripting {

class ScriptEscape {
public:
    // Constant afterwards. `object` is the engine's.
    void setEngine(IUnknown& object);

    // Enters the engine: `enter` does nothing but call it. E_ABORT when it was forced out.
    template <typename Enter>
    HRESULT run(Enter enter) {
        const auto call = [](void* function) { return (*static_cast<Enter*>(function))(); };
        return runErased(call, &enter);
    }

    // From another thread: takes the thread out when it is in the engine's own code. Locks of the
    // system and of the host are never held there.
    void force(const std::atomic<int>& inHost) noexcept;
    bool hasHappened() const { return hasHappened_; }

    // Of one entry: the registers to go back to, and what unwinding would restore.
    struct Frame {
        void* registers[5];
        void* handlers;
        Frame* outer;
        DWORD thread;
    };

private:
    HRESULT runErased(HRESULT (*call)(void*), void* function);

    ULONG_PTR begin_ = 0;  // of the engine's code
    ULONG_PTR end_ = 0;
    std::atomic<Frame*> innermost_ = nullptr;
    std::atomic<bool> hasHappened_ = false;
};

}  // namespace kel::scripting
