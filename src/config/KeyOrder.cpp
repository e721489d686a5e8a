#include "config/KeyOrder.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

namespace brindle {

// An MSD radix sort (most significant digit first) whose digits are heads: the next seven bytes of a key.
//
// A comparison of two keys would wait for two places of a large text that are in no cache. So each entry carries its
// head. A round sorts entries by their heads. Each run of equal heads gets new heads, from behind the common part of
// its keys, and is sorted again. The number of rounds is limited: if each round separates only one of many long keys,
// further rounds take longer than they save.

namespace {

struct Entry {
    std::size_t word;
    std::uint64_t head;
};

constexpr unsigned HEAD_BYTES = 7;
constexpr unsigned GOES_ON = HEAD_BYTES + 1;
constexpr std::size_t FEW = 32; // fewer entries are sorted faster by comparison than by counting
constexpr unsigned ROUNDS = 8;  // keys that these do not tell apart keep their order

// The lowest byte of a head is the number of key bytes in it. So the end of a key sorts before a zero byte, and keys
// that end within equal heads are equal.
std::uint64_t headOf(const char* key)
{
    std::uint64_t head = 0;
    unsigned count = 0;
    for (; count < HEAD_BYTES && key[count] != '='; ++count) {
        head = head << 8 | static_cast<unsigned char>(key[count]);
    }
    const bool ends = key[count] == '=';
    // In two steps, because a shift by all 64 bits, as for an empty key, is undefined.
    return head << 8 * (HEAD_BYTES - count) << 8 | (ends ? count : GOES_ON);
}

// The number of bytes that all keys, at least two, have in common from `depth` on.
std::size_t commonLength(const char* text, const Entry* first, const Entry* last, std::size_t depth)
{
    const char* const key = text + first->word + depth;
    const char* end = key;
    while (*end != '=') {
        ++end;
    }
    for (const Entry* entry = first + 1; entry != last && end != key; ++entry) {
        end = std::mismatch(key, end, text + entry->word + depth).first;
    }
    return static_cast<std::size_t>(end - key);
}

// Copies the entries to `to`, sorted by one byte of their heads.
void distribute(const Entry* from, Entry* to, std::size_t size, unsigned byte)
{
    const auto valueOf = [byte](const Entry& entry) { return static_cast<std::size_t>(entry.head >> 8 * byte & 0xFF); };
    std::array<std::size_t, 257> places = {};
    for (const Entry* entry = from; entry != from + size; ++entry) {
        ++places[valueOf(*entry) + 1];
    }
    std::partial_sum(places.begin(), places.end(), places.begin());
    for (const Entry* entry = from; entry != from + size; ++entry) {
        to[places[valueOf(*entry)]++] = *entry;
    }
}

// Stable: entries with equal heads keep their order.
void sortFewByHead(Entry* first, Entry* last)
{
    for (Entry* next = first; next != last; ++next) {
        const Entry inserted = *next;
        Entry* place = next;
        for (; place != first && inserted.head < place[-1].head; --place) {
            *place = place[-1];
        }
        *place = inserted;
    }
}

// Stable: entries with equal heads keep their order.
void sortByHead(Entry* first, Entry* last, Entry* spare)
{
    const auto size = static_cast<std::size_t>(last - first);
    if (size < FEW) {
        sortFewByHead(first, last);
        return;
    }
    std::uint64_t differences = 0;
    for (const Entry* entry = first; entry != last; ++entry) {
        differences |= entry->head ^ first->head;
    }
    Entry* sorted = first;
    for (unsigned byte = 0; byte < sizeof differences; ++byte) { // the most significant byte comes last
        if ((differences >> 8 * byte & 0xFF) != 0) {
            distribute(sorted, spare, size, byte);
            std::swap(sorted, spare);
        }
    }
    if (sorted != first) {
        std::copy(sorted, sorted + size, first);
    }
}

// Sorts entries, at least two, whose keys are equal up to `depth`.
// NOLINTNEXTLINE(misc-no-recursion)
void sortFrom(std::size_t depth, unsigned rounds, const char* text, Entry* first, Entry* last, Entry* spare)
{
    depth += commonLength(text, first, last, depth);
    for (Entry* entry = first; entry != last; ++entry) {
        entry->head = headOf(text + entry->word + depth);
    }
    sortByHead(first, last, spare);
    if (rounds == 1) {
        return;
    }
    for (Entry* equal = first; equal != last;) {
        Entry* const end = std::find_if(equal, last, [equal](const Entry& entry) { return entry.head != equal->head; });
        if (end - equal > 1 && (equal->head & 0xFF) == GOES_ON) {
            sortFrom(depth + HEAD_BYTES, rounds - 1, text, equal, end, spare);
        }
        equal = end;
    }
}

}

void sortByKey(const std::string& text, std::vector<std::size_t>& words)
{
    const std::size_t size = words.size();
    if (size < 2) {
        return;
    }
    std::vector<Entry> entries(2 * size); // the second half is spare
    for (std::size_t place = 0; place < size; ++place) {
        entries[place].word = words[place];
    }
    sortFrom(0, ROUNDS, text.data(), entries.data(), entries.data() + size, entries.data() + size);
    for (std::size_t place = 0; place < size; ++place) {
        words[place] = entries[place].word;
    }
}

}
