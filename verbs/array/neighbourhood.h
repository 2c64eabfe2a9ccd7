// The weighted neighbourhoods of an array's items: what MASK hands to its function.
//
// A mask is an array of weights, of odd length along each axis, whose middle item lies over the item in hand. Under
// each of its items lies a neighbour, or none at the edge of the data.
#pragma once

#include <cstdint>
#include <vector>

#include "verbs/scalar/dyadic.h"

namespace ondrel {

// Which item stands for a neighbour that lies outside: none; that of the other end; or that as far inside.
enum class Edge { none, wrap, reflect };

class Neighbourhoods {
public:
    // Of data and a mask of equal rank, neither of them empty, which stay the caller's. Along each axis the mask is at
    // most one longer than the data.
    Neighbourhoods(const DataElement& data, const DataElement& mask, Edge edge, Site site);

    // That of the next item, in their order: an array of the mask's shape, each item the product of the weight there
    // and the neighbour, the integer 0 where there is none. Raises what MULTIPLY raises, 27, and 994 for items that
    // have no product.
    DataElement next();

private:
    struct Axis {
        std::int64_t length;               // of the mask
        std::int64_t offset = 0;           // in the mask, counted from its first item
        std::int64_t centre = 0;           // of the neighbourhood in hand
        std::vector<std::int64_t> places;  // by centre + offset: the neighbour's share of its index; outside: none
    };

    void find_neighbours();
    void step_centre();
    DataElement* by_item() const;
    void* by_loop();
    void prepare_loop();

    const DataElement& data;
    const DataElement& mask;
    Setting setting;
    std::vector<Axis> axes;
    std::vector<std::int64_t> neighbours;  // the indices of the neighbourhood in hand, none where there is none

    // Plain numbers take a loop: null for others.
    DyadicLoop loop = nullptr;
    std::uint64_t head = 0;                       // of its results
    std::vector<std::uint64_t> weights, numbers;  // words
};

}  // namespace ondrel
