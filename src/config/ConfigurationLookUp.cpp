// A source by itself, because src/CMakeLists.txt has it compiled for speed.

#include <brindle/Configuration.hpp>

namespace brindle {

bool Configuration::getOption(const std::string& key, std::string& value) const
{
    if (!valid) {
        return false;
    }
    const auto entry = entries.find(key);
    if (entry == entries.end()) {
        return false;
    }
    value = entry->second;
    return true;
}

}
