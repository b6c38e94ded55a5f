#include "Mutator.h"

#include <algorithm>
#include <cstddef>

namespace mediafuzz {

Bytes Mutator::mutated(Bytes bytes, const Bytes& other) {
    for (std::size_t round = 1 + below(6); round > 0 && bytes.size() > 64; --round) {
        mutate(bytes, other);
    }
    return bytes;
}

void Mutator::mutate(Bytes& bytes, const Bytes& other) {
    // Headers are where decisions are made.
    const std::size_t at = below(2) == 0 ? below(std::min<std::size_t>(bytes.size(), 2000)) : below(bytes.size());
    const std::size_t length = std::min(bytes.size() - at, 1 + below(200));
    switch (below(7)) {
    case 0:
        bytes.resize(std::max<std::size_t>(at, 1));
        break;
    case 1:
        bytes[at] = static_cast<char>(bytes[at] ^ static_cast<char>(1U << below(8)));
        break;
    case 2:
        std::generate_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), length,
                        [this] { return static_cast<char>(random_()); });
        break;
    case 3:
        bytes.erase(at, length);
        break;
    case 4:
        bytes.insert(at, bytes.substr(below(bytes.size()), length));
        break;
    case 5:
        std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), std::min<std::size_t>(length, 8),
                    below(2) == 0 ? '\xFF' : '\0');
        break;
    default:
        bytes.replace(at, length, other.substr(below(other.size()), length));
        break;
    }
}

}  // namespace mediafuzz
