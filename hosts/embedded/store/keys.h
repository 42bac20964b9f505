// Record ids ready to be bound.
#pragma once

#include <cstddef>
#include <cstdint>

#include "hosts/embedded/store/codec.h"
#include "hosts/multivalue/store/store.h"
#include "hosts/multivalue/text/text.h"

namespace kel::embedded {

// A record's id, checked and encoded, without a trip to the heap.
class Key {
public:
    explicit Key(text::TextView id);  // kBadArgument

    Bytes bytes() const { return {bytes_, size_}; }

private:
    std::size_t size_;
    std::uint8_t bytes_[store::kMaxIdUnits * kMaxIdBytes];
};

}  // namespace kel::embedded
