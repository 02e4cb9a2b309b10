#pragma once

#include <cstddef>
#include <cstdint>

/// One head of attendAllInt8(): its rows packed for products of 8-bit values, and the attention of a group of queries.
///
/// Threads: pure functions on the caller's memory. No allocation.
namespace fenlo::whisper::kernels {

/// Keys that are dealt with at a time: their scores, shares, keys and values stay in the first-level cache. A share
/// counts in 255ths of the largest one of its block, so that one loud key takes the small shares of its own block only.
constexpr std::size_t keyBlock = 128;

constexpr float lowestScore = -1e8F; // stands for minus infinity, and is an integer of 32 bits
/// Scores are powers of two in 256ths, as integers.
constexpr int scoreBits = 8;
constexpr float scoreUnit = 1.44269504F * (1 << scoreBits); // of a natural power

/// The rows of one head within those of all heads.
struct HeadRows {
    const float* query;
    const float* key;
    const float* value;
    std::size_t stride; // between two positions
    int positions;
    int width;
};

/// What multiplies on the settled instruction set: 16-bit pairs, four bytes in a lane, or tiles of these.
enum class AttendProduct { pairs, quads, tiles };
AttendProduct attendProduct();

/// How packed values lie in memory: whole 32-bit lanes of `perLane` values that one instruction multiplies.
struct PackedLayout {
    int queries;      // of a group: two vectors
    int perLane;      // values in a lane
    int elementBytes; // 4 / perLane
    int step;         // keys and channels are filled up to whole ones: rows whose sums are held at a time
};
/// Of the settled instruction set.
PackedLayout packedLayout();

/// One head in 8 bits. A score in 256ths of a power of two is
///     (query . key + keyOffset) * keyScale * queryFactor + keyBias,
/// but for what it has in common with the row's others, which softmax does not see.
struct PackedHead {
    int positions, width;
    int keyCount; // positions and depth: rounded up to whole steps of the kernels
    int depth;
    void* queries;           // [groups][depth / perLane][group's queries][perLane], 128 added to each
    void* keys;              // [keyCount][depth]
    void* values;            // [depth][keyCount]
    float* queryFactor;      // [groups * group's queries]
    float* keyScale;         // [keyCount]
    float* keyBias;          // [keyCount]
    std::int32_t* keyOffset; // [keyCount]; what the 128 of the queries add, taken off
    float* valueScale;       // [depth]
    float* valueMean;        // [depth]
};

constexpr std::size_t roundedUp(std::size_t count, std::size_t step) {
    return (count + step - 1) / step * step;
}

/// Where one head's arrays lie in one piece of memory.
struct PackedSize {
    PackedSize(const PackedLayout& layout, int positions, int width);
    /// `memory` is 64-byte aligned and holds `bytes`.
    PackedHead place(std::byte* memory) const;

    int positions, width, keyCount, depth, groups;
    std::size_t bytes = 0;

private:
    std::size_t m_at[9]{};
};

/// `work` holds packWork(width) floats.
std::size_t packWork(int width);
void packHead(const HeadRows& rows, const PackedHead& packed, float* work);

/// dst[i] = softmax(scores of query i) x values for the group's queries below `positions`. `work` is 64-byte aligned
/// and holds attendWork() bytes.
std::size_t attendWork(const PackedLayout& layout, int width);
void attendGroup(const PackedHead& head, int group, float* dst, std::size_t stride, std::byte* work);

namespace reference {
/// The plain form for one head; dst has the rows' stride. It allocates.
void attendInt8(const HeadRows& rows, float* dst);
} // namespace reference

} // namespace fenlo::whisper::kernels
