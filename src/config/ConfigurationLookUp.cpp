// Apart from the rest because it is compiled for speed: src/CMakeLists.txt says so.

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
