// The surroundings of a test, changed for its duration and put back afterwards.
#pragma once

#include <windows.h>

#include <vector>

#include "tests/support/values.h"

namespace kel::tests {

// Turns a predefined registry key into a private, empty one for this process only. The true key is
// neither read nor written meanwhile. One at a time for each key.
class RegistryRedirection {
public:
    explicit RegistryRedirection(HKEY predefined);
    RegistryRedirection(const RegistryRedirection&) = delete;
    RegistryRedirection& operator=(const RegistryRedirection&) = delete;
    ~RegistryRedirection();

    // Every key and value below, one line each and sorted: "CLSID\X", "CLSID\X@name=text" ("@=text"
    // for the value without a name).
    std::vector<Text> lines() const;

private:
    HKEY predefined_;
    Text path_;
    HKEY key_ = nullptr;
};

// Settings of the component as a user would have stored them; none to begin with. Nothing of the
// user's own settings is touched, other processes see nothing of it.
class SettingsOverride {
public:
    SettingsOverride() : registry_(HKEY_CURRENT_USER) {}

    void set(const wchar_t* name, TextView text);
    void remove(const wchar_t* name);

private:
    RegistryRedirection registry_;
};

// A new folder, removed with its contents.
class TempFolder {
public:
    TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;
    ~TempFolder();

    const Text& path() const { return path_; }  // without a backslash at the end
    Text operator/(TextView name) const { return path_ + L"\\" + Text(name); }

private:
    Text path_;
};

// Another current directory.
class CurrentDirectory {
public:
    explicit CurrentDirectory(const Text& path);
    CurrentDirectory(const CurrentDirectory&) = delete;
    CurrentDirectory& operator=(const CurrentDirectory&) = delete;
    ~CurrentDirectory() { SetCurrentDirectoryW(former_.c_str()); }

private:
    Text former_;
};

// Waits until a timer of this thread is due, however late the machine is with it. What goes by a
// sleep's length instead fails where the machine has more to do.
void WaitForDueTimer();

bool FileExists(const Text& path);
// The bytes of a file; empty when there is none.
std::string FileBytes(const Text& path);

}  // namespace kel::tests
