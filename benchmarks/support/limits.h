// What the machine allows: the least that an operation could cost, measured beside it in the same program.
//
// A limit is a body for CRow::Limit. Buffers have an address that 64 divides, and are touched before they are timed.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace Bench
{

// Memory for a limit to work on.
std::shared_ptr<char> MakeBuffer(size_t bytes);

// Reads bytes with the widest vectors that the machine has (32 bytes at most), and folds them.
uint64_t ReadWide(const char *data, size_t bytes);

// Reading every byte once.
inline auto ReadLimit(size_t bytes)
{
    return [buffer = MakeBuffer(bytes), bytes] { return ReadWide(buffer.get(), bytes); };
}

// Reading every byte once and writing it elsewhere.
inline auto CopyLimit(size_t bytes)
{
    return [from = MakeBuffer(bytes), to = MakeBuffer(bytes), bytes]
    {
        std::memcpy(to.get(), from.get(), bytes);
        return to.get();
    };
}

// Changes every byte where it is, with the widest vectors that the machine has (32 bytes at most).
void RewriteWide(char *data, size_t bytes);

// Changing every byte of a text again and again: each time reads what the time before has just written.
inline auto RewriteLimit(size_t bytes)
{
    return [buffer = MakeBuffer(bytes), bytes]
    {
        RewriteWide(buffer.get(), bytes);
        return buffer.get();
    };
}

// A text of the size that comes about at its front, piece by piece: what stands there already moved on for each.
inline auto MoveOnLimit(size_t bytes, size_t piece)
{
    return [buffer = MakeBuffer(bytes), bytes, piece]
    {
        for (size_t length = 0; length + piece <= bytes; length += piece)
            std::memmove(buffer.get() + piece, buffer.get(), length);
        return buffer.get();
    };
}

// What a new text of the size costs: memory, a copy, and giving the memory back.
inline auto MallocAndCopyLimit(size_t bytes)
{
    return [from = MakeBuffer(bytes), bytes]
    {
        const std::unique_ptr<char, decltype(&std::free)> block(static_cast<char *>(std::malloc(bytes)), &std::free);
        std::memcpy(block.get(), from.get(), bytes);
        return *block;
    };
}

// The same for many texts that are all held at once; empty ones need no memory.
inline auto MallocAndCopyManyLimit(std::vector<size_t> sizes)
{
    size_t total = 0;
    for (const size_t size : sizes)
        total += size;
    sizes.erase(std::remove(sizes.begin(), sizes.end(), size_t(0)), sizes.end());
    return [from = MakeBuffer(total), sizes = std::move(sizes)]
    {
        std::vector<char *> blocks(sizes.size());
        const char *next = from.get();
        for (size_t i = 0; i < sizes.size(); ++i)
        {
            blocks[i] = static_cast<char *>(std::malloc(sizes[i] + 1));
            std::memcpy(blocks[i], next, sizes[i]);
            next += sizes[i];
        }
        for (char *const block : blocks)
            std::free(block);
        return blocks.size();
    };
}

// What a shared handle costs: counting up and down again.
inline auto AtomicPairLimit()
{
    return [count = std::make_shared<std::atomic<int>>(1)]
    {
        count->fetch_add(1, std::memory_order_relaxed);
        return count->fetch_sub(1, std::memory_order_acq_rel) == 1;
    };
}

} // namespace Bench
