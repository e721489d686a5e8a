#pragma once

#include <string>
#include <vector>

/// Calls `check` with every text of up to `longest` bytes from `alphabet`, the shortest first.
template <typename Check>
void forEveryText(const std::string& alphabet, std::size_t longest, Check check)
{
    std::vector<std::string> texts = {""};
    for (std::size_t next = 0; next < texts.size(); ++next) {
        const std::string text = texts[next];
        check(text);
        for (std::size_t letter = 0; text.size() < longest && letter < alphabet.size(); ++letter) {
            texts.push_back(text + alphabet[letter]);
        }
    }
}
