#include "config/KeyOrder.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>

namespace brindle {

// A radix sort from the most significant digit on (MSD), whose digits are heads: the next seven bytes of a key. To compare
// two keys is to wait for two cold places of a large text, so every entry has its head with it. Entries are sorted by their
// heads; each run of equal heads gets new ones, from behind what its keys have in common, and is sorted again. After a few
// rounds that ends: where only one of many long keys drops out of each round, the rest takes longer than it saves.

namespace {

struct Entry {
    std::size_t word;
    std::uint64_t head;
};

constexpr unsigned HEAD_BYTES = 7;
constexpr unsigned GOES_ON = HEAD_BYTES + 1;
constexpr std::size_t FEW = 32; // fewer are sorted more quickly by comparison than by counting
constexpr unsigned ROUNDS = 8;  // keys that these do not tell apart stay as they are

// The lowest byte tells how many bytes there are, so an end comes before a zero byte, and equal heads of keys that do not
// go on are equal keys.
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

// How many bytes all keys, of which there are two at least, have in common from `depth` on.
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

// Moves the entries to `to`, sorted by one byte of their heads alone.
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

// Entries of equal heads stay in their order.
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

// Entries of equal heads stay in their order.
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
    for (unsigned byte = 0; byte < sizeof differences; ++byte) { // the one that counts most comes last
        if ((differences >> 8 * byte & 0xFF) != 0) {
            distribute(sorted, spare, size, byte);
            std::swap(sorted, spare);
        }
    }
    if (sorted != first) {
        std::copy(sorted, sorted + size, first);
    }
}

// Sorts entries, of which there are two at least, whose keys are equal up to `depth`.
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
    std::vector<Entry> entries(2 * size); // half of them spare
    for (std::size_t place = 0; place < size; ++place) {
        entries[place].word = words[place];
    }
    sortFrom(0, ROUNDS, text.data(), entries.data(), entries.data() + size, entries.data() + size);
    for (std::size_t place = 0; place < size; ++place) {
        words[place] = entries[place].word;
    }
}

}
