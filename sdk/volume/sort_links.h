// Sorting of linked records by their links.
#pragma once

namespace morv {

// Answers the first record. Those of which none is less than the other keep their order.
template <class Node, class Less>
Node *sort_links(Node *list, Less less) noexcept {
    Node *sorted = nullptr;
    while (list) {
        Node *const node = list;
        list = node->pNext;
        Node **place = &sorted;
        while (*place && !less(*node, **place))
            place = &(*place)->pNext;
        node->pNext = *place;
        *place = node;
    }
    return sorted;
}

}  // namespace morv
