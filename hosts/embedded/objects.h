// The opaque objects of the embedded back-end: record buffers, file variables, select lists.
#pragma once

#include <memory>

#include "automation/opaque_object.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/dynamic_array.h"

namespace kel::embedded {

struct RecordBuffer {
    static constexpr IID kIid = {
        0xe39e05fd, 0xc0d3, 0x49bd, {0xaf, 0xc7, 0xfc, 0xc7, 0x85, 0x75, 0x72, 0x05}};

    text::DynamicArray array;
};

// Means a file only in the connection that opened it.
struct FileVariable {
    static constexpr IID kIid = {
        0x4251b261, 0xe7ae, 0x4156, {0x95, 0xa9, 0x11, 0x8f, 0x7b, 0xf6, 0x54, 0xca}};

    store::FileNumber number{};
    unsigned long connection = 0;
    bool isOpen = true;
};

struct OpenList;  // connection.h

struct SelectListContent {
    static constexpr IID kIid = {
        0x6b1c8f37, 0x2a5e, 0x4d9b, {0x8d, 0x31, 0x70, 0x5c, 0xe2, 0x4a, 0x9f, 0x16}};

    std::shared_ptr<OpenList> open;
};

using RecordBufferObject = automation::OpaqueObject<RecordBuffer>;
using FileVariableObject = automation::OpaqueObject<FileVariable>;
using SelectListObject = automation::OpaqueObject<SelectListContent>;

}  // namespace kel::embedded
