#include "lookup/hash_seed.h"

#include <atomic>
#include <cstring>
#include <sys/auxv.h>

namespace rs {

namespace {

// Odd, and without pattern: the first bits of the fractions of the golden ratio and of pi.
constexpr uint64_t GOLDEN_BITS = 0x9E3779B97F4A7C15;
constexpr uint64_t PI_BITS = 0x243F6A8885A308D3;

// The process's own random bytes. A kernel that gives none leaves zeros, and hashes without a secret.
HashSeed processBytes() noexcept {
    HashSeed bytes{};
    const auto address = getauxval(AT_RANDOM);
    if (address != 0) {
        // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel passes the address as a number
        std::memcpy(&bytes, reinterpret_cast<const void*>(address), sizeof bytes);
    }
    return bytes;
}

// The C library takes its own secrets from the same bytes: nothing here can be led back to them.
uint64_t finish(uint64_t word) noexcept {
    word = mixHash(word ^ GOLDEN_BITS, PI_BITS);
    word ^= word >> 29U;
    return mixHash(word, GOLDEN_BITS);
}

std::atomic<uint64_t> seedCount{0};

}  // namespace

HashSeed newHashSeed() noexcept {
    const HashSeed bytes = processBytes();
    const uint64_t count = seedCount.fetch_add(1, std::memory_order_relaxed);
    const uint64_t secret = finish(bytes.left) + finish(bytes.right ^ PI_BITS);
    return {finish(secret + 2 * count), finish(secret + 2 * count + 1)};
}

}  // namespace rs
