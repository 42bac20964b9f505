// What lies on a keyed collection's private heap.
#pragma once

#include "core/fast_collection.h"

namespace kel::core {

// The records keep the sizes they are known by on a 32-bit machine, 20 and 12 bytes; the heap
// aligns every block to 8, and the variant stands first.
#pragma pack(push, 4)
struct FastCollection::ItemRecord {
    VARIANT Value;
    BSTR Key;
};

struct FastCollection::KeyNode {
    KeyNode* Next;
    ItemRecord* Item;
    BSTR Key;  // the same text as Item->Key
};
#pragma pack(pop)

}  // namespace kel::core
