// A session's back-end: the one object that all database work goes through, or none.
#pragma once

#include <utility>

#include "automation/bstr.h"
#include "automation/com_ptr.h"
#include "automation/text.h"
#include "kelSDK.h"

namespace kel::engine {

using automation::Bstr;
using automation::ComPtr;
using automation::Text;
using automation::TextView;

// Back-end calls run foreign code, which may disconnect the session in their middle: whoever calls
// holds a reference of his own, and asks afterwards whether it is still the one. One thread.
class HostLink {
public:
    // For the length of the caller's call. Throws 91 when there is none.
    ComPtr<_mviHostDLL> host() const;
    // The same where none is no failure.
    const ComPtr<_mviHostDLL>& ifAny() const noexcept { return host_; }
    // Whether this one is still what the session works with.
    bool isStill(const ComPtr<_mviHostDLL>& host) const noexcept {
        return host.get() == host_.get();
    }
    void set(ComPtr<_mviHostDLL> host) noexcept { host_ = std::move(host); }
    // Lets go of it; the caller has it then.
    ComPtr<_mviHostDLL> take() noexcept { return std::exchange(host_, nullptr); }

    // What the back-end says; without one, and when it cannot say, it is not.
    bool isConnected() const noexcept;
    // An empty record buffer. Throws 91, or what the back-end throws.
    ComPtr<IDispatch> newDynamicArray() const;

private:
    ComPtr<_mviHostDLL> host_;
};

}  // namespace kel::engine
