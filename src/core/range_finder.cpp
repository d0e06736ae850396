#include "core/range_finder.h"

#include <utility>

namespace rs {

namespace {

constexpr uint64_t FIRST_CHAIN_COUNT = 64;
constexpr uint64_t HASH_FACTOR = 0x9E3779B97F4A7C15;  // odd, without pattern: 2^64 / golden ratio

uint64_t addToHash(uint64_t hash, const Address128& address) noexcept {
    for (const uint32_t word : address.words) {
        hash = (hash ^ word) * HASH_FACTOR;
        hash ^= hash >> 32U;
    }
    return hash;
}

uint64_t hashRange(const Address128& low, const Address128& high) noexcept {
    return addToHash(addToHash(0, low), high);
}

}  // namespace

RangeFinder::~RangeFinder() {
    for (uint64_t i = 0; i < chainCount_; ++i) {
        Node* node = chains_[i];
        while (node != nullptr) {
            Node* next = node->next;
            freeMemory(node);
            node = next;
        }
    }
}

void* RangeFinder::find(const Address128& low, const Address128& high) const noexcept {
    if (chainCount_ == 0) {
        return nullptr;
    }
    const uint64_t hash = hashRange(low, high);
    for (const Node* node = chains_[hash & (chainCount_ - 1)]; node != nullptr; node = node->next) {
        if (node->hash == hash && node->low == low && node->high == high) {
            return node->place;
        }
    }
    return nullptr;
}

bool RangeFinder::add(const Address128& low, const Address128& high, void* place) noexcept {
    if (nodeCount_ == chainCount_ && !grow()) {
        return false;
    }
    Node* node = allocateRecord<Node>();
    if (node == nullptr) {
        return false;
    }
    const uint64_t hash = hashRange(low, high);
    Node*& head = chains_[hash & (chainCount_ - 1)];
    *node = {low, high, place, head, hash};
    head = node;
    ++nodeCount_;
    return true;
}

bool RangeFinder::grow() noexcept {
    const uint64_t newCount = chainCount_ == 0 ? FIRST_CHAIN_COUNT : 2 * chainCount_;
    OwnedMemory<Node*[]> newChains(allocateArray<Node*>(newCount));
    if (!newChains) {
        return false;
    }
    for (uint64_t i = 0; i < chainCount_; ++i) {
        Node* node = chains_[i];
        while (node != nullptr) {
            Node* next = node->next;
            Node*& head = newChains[node->hash & (newCount - 1)];
            node->next = head;
            head = node;
            node = next;
        }
    }
    chains_ = std::move(newChains);
    chainCount_ = newCount;
    return true;
}

}  // namespace rs
