// Names of files and of dictionary items, asked for once in the life of an engine.
#pragma once

#include "core/collection.h"
#include "engine/connection.h"

namespace kel::engine {

// Connects the session where that is needed; failures reach the caller. A list, once read, is lent
// to everyone who asks: what a client does to it others see. One thread.
class NameLists {
public:
    NameLists(HostLink& host, Connection& connection) noexcept
        : host_(host), connection_(connection) {}

    // Names in a file's dictionary; none for no file.
    ComPtr<_Collection> dictionaryNames(BSTR fileName);
    ComPtr<_Collection> fileNames();
    void forget() noexcept {
        files_.reset();
        dictionaries_.reset();
    }

private:
    void requireConnection() {
        if (!host_.isConnected()) {
            connection_.connect();
        }
    }

    HostLink& host_;
    Connection& connection_;
    ComPtr<core::Collection> dictionaries_;  // lists of names by file name
    ComPtr<core::Collection> files_;
};

}  // namespace kel::engine
