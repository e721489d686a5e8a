#include "config/KeyOrder.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>

TEST(KeyOrder, SortsWordsAsAStableSortByKeyDoes)
{
    std::minstd_rand random;
    for (const std::size_t count : {0U, 1U, 2U, 31U, 32U, 4096U}) { // fewer than 32 are not counted
        std::string text;
        std::vector<std::size_t> words;
        while (words.size() < count) { // keys share beginnings, hold zero bytes and bytes above 127, and come again
            words.push_back(text.size());
            text += std::string(random() % 30, 'a') + std::string(random() % 3, '\0');
            text += std::string(random() % 2, static_cast<char>('b' + random() % 99)) + "=1 ";
        }
        std::vector<std::size_t> expected = words;
        const auto keyOf = [&](std::size_t word) { return text.substr(word, text.find('=', word) - word); };
        std::stable_sort(expected.begin(), expected.end(),
                         [&](std::size_t left, std::size_t right) { return keyOf(left) < keyOf(right); });
        brindle::sortByKey(text, words);
        EXPECT_EQ(expected, words) << count << " words";
    }
}
