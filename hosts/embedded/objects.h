// The opaque objects of the embedded back-end: record buffers and file variables.
#pragma once

#include "automation/opaque_object.h"
#include "hosts/multivalue/dynamic_array.h"
#include "hosts/multivalue/store.h"

namespace kel::embedded {

struct RecordBuffer {
    static constexpr IID kIid = {
        0xe39e05fd, 0xc0d3, 0x49bd, {0xaf, 0xc7, 0xfc, 0xc7, 0x85, 0x75, 0x72, 0x05}};

    multivalue::DynamicArray array;
};

// Means a file only in the connection that opened it.
struct FileVariable {
    static constexpr IID kIid = {
        0x4251b261, 0xe7ae, 0x4156, {0x95, 0xa9, 0x11, 0x8f, 0x7b, 0xf6, 0x54, 0xca}};

    multivalue::FileNumber number{};
    unsigned long connection = 0;
    bool isOpen = true;
};

using RecordBufferObject = automation::OpaqueObject<RecordBuffer>;
using FileVariableObject = automation::OpaqueObject<FileVariable>;

}  // namespace kel::embedded
