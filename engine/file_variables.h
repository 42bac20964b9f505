// File variables: each file of a session is opened once and kept until the session disconnects.
#pragma once

#include <memory>
#include <utility>

#include "core/fast_collection.h"
#include "engine/host_link.h"

namespace kel::engine {

// By file name, as it was given. A variable is an object of the back-end, never looked into, and
// good only while the back-end that opened it stays connected. One thread.
class FileVariables {
public:
    explicit FileVariables(HostLink& host) noexcept : host_(host) {}

    // Opens a file unless it is open; false without a name.
    //   throws  what the back-end throws; 91 without one, or when the session has let go of it
    //           meanwhile
    bool open(TextView fileName);
    // The variable of an open file; none for any other.
    ComPtr<IDispatch> find(TextView fileName) noexcept;
    void close(TextView fileName) noexcept;

    long count() const noexcept { return list_ ? list_->Count() : 0; }
    // Closes the file at an index, from 1.
    void closeAt(long index) noexcept;
    // Takes all variables out at once; `closeAll` closes them, the last one first. Without a
    // back-end they are only let go of.
    using Taken = std::unique_ptr<core::FastCollection>;
    Taken takeAll() noexcept { return std::exchange(list_, nullptr); }
    static void closeAll(_mviHostDLL* host, Taken files) noexcept;

private:
    core::FastCollection& FileVarList();

    HostLink& host_;
    std::unique_ptr<core::FastCollection> list_;
};

}  // namespace kel::engine
