// A file that is being made under a name of its own until it is whole.
#pragma once

#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

// Made empty, under a name that nothing had; removed at the end, with what the engine keeps beside
// it, unless it was given its proper name.
class UnfinishedFile {
public:
    // `beginning` and a number. Throws kCannotOpen.
    explicit UnfinishedFile(const text::Text& beginning);
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;
    ~UnfinishedFile();

    const text::Text& path() const { return path_; }

    // False, and the file stays unfinished, when anything is there already. Throws kInputOutput.
    bool Finish(const text::Text& name);

private:
    text::Text path_;
    bool isFinished_ = false;
};

}  // namespace kel::embedded
