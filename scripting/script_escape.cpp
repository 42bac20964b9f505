// Registers are set by hand here: what the engine's frames own is lost with them, which is why it
// is the last resort, and why the engine is not used afterwards.
#include "scripting/script_escape.h"

namespace kel::scripting {

namespace {

NT_TIB* Tib() {
    return reinterpret_cast<NT_TIB*>(NtCurrentTeb());
}

// Where the thread goes on, on its own stack below all that was in use.
[[noreturn]] void
#ifndef _WIN64
    __fastcall
#endif
    Leave(ScriptEscape::Frame* frame) {
    Tib()->ExceptionList = static_cast<decltype(Tib()->ExceptionList)>(frame->handlers);
    __builtin_longjmp(frame->registers, 1);
}

// Room for what a leaf function keeps below the top of the stack, and for arguments.
constexpr ULONG_PTR kBelow = 512;
constexpr ULONG_PTR kAlignment = 16;

void Redirect(CONTEXT& context, ScriptEscape::Frame* frame) {
#ifdef _WIN64
    // As behind a call: the return address, which nobody uses, is at the top.
    context.Rsp = ((context.Rsp - kBelow) & ~(kAlignment - 1)) - sizeof(void*);
    context.Rip = reinterpret_cast<ULONG_PTR>(&Leave);
    context.Rcx = reinterpret_cast<ULONG_PTR>(frame);
#else
    context.Esp = ((context.Esp - kBelow) & ~(kAlignment - 1)) - sizeof(void*);
    context.Eip = reinterpret_cast<ULONG_PTR>(&Leave);
    context.Ecx = reinterpret_cast<ULONG_PTR>(frame);
#endif
}

ULONG_PTR PlaceOf(const CONTEXT& context) {
#ifdef _WIN64
    return context.Rip;
#else
    return context.Eip;
#endif
}

}  // namespace

void ScriptEscape::setEngine(IUnknown& object) {
    // Its table of functions lies in its module.
    const auto* table = *reinterpret_cast<const void* const*>(&object);
    MEMORY_BASIC_INFORMATION memory{};
    if (VirtualQuery(table, &memory, sizeof memory) == 0) {
        return;
    }
    const auto* base = static_cast<const BYTE*>(memory.AllocationBase);
    const auto* header = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    begin_ = reinterpret_cast<ULONG_PTR>(base);
    end_ = begin_ + header->OptionalHeader.SizeOfImage;
}

// Not inlined: the registers that it keeps are those to come back with.
__attribute__((noinline)) HRESULT ScriptEscape::runErased(HRESULT (*call)(void*), void* function) {
    if (hasHappened_) {
        return E_ABORT;
    }
    Frame frame{{}, Tib()->ExceptionList, innermost_, GetCurrentThreadId()};
    if (__builtin_setjmp(frame.registers) != 0) {
        innermost_ = frame.outer;
        return E_ABORT;
    }
    innermost_ = &frame;
    const HRESULT code = call(function);
    innermost_ = frame.outer;
    return code;
}

void ScriptEscape::force(const std::atomic<int>& inHost) noexcept {
    Frame* const seen = innermost_;
    if (seen == nullptr || hasHappened_ || end_ == 0) {
        return;
    }
    const HANDLE thread = OpenThread(
        THREAD_SUSPEND_RESUME | THREAD_GET_CONTEXT | THREAD_SET_CONTEXT, FALSE, seen->thread);
    if (thread == nullptr) {
        return;
    }
    // Nothing that may wait for the thread happens while it stands still: no memory, no locks.
    if (SuspendThread(thread) != static_cast<DWORD>(-1)) {
        CONTEXT context{};
        context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
        Frame* const frame = innermost_;
        if (frame != nullptr && inHost == 0 && GetThreadContext(thread, &context) != 0 &&
            PlaceOf(context) >= begin_ && PlaceOf(context) < end_) {
            Redirect(context, frame);
            context.ContextFlags = CONTEXT_CONTROL | CONTEXT_INTEGER;
            hasHappened_ = SetThreadContext(thread, &context) != 0;
        }
        ResumeThread(thread);
    }
    CloseHandle(thread);
}

}  // namespace kel::scripting
