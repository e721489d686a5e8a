#include <brindle/Configuration.hpp>

#include <fstream>
#include <utility>

namespace brindle {

Configuration::Configuration() = default;
Configuration::Configuration(const Configuration&) = default;
Configuration::~Configuration() = default;

Configuration& Configuration::operator=(const Configuration& other)
{
    Configuration copy(other); // whatever can fail does so before anything changes
    entries.swap(copy.entries);
    cfgFile.swap(copy.cfgFile);
    valid = copy.valid;
    return *this;
}

bool Configuration::readCfgFile(std::string path)
{
    valid = parseConfig(path);
    if (valid) {
        cfgFile = std::move(path); // a copy could fail now that the entries have changed
    }
    return valid;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is the interface
bool Configuration::parseConfig(std::string path)
{
    std::ifstream file(path);
    if (!file.is_open()) {
        return false;
    }
    // Otherwise the stream would take an exhausted memory for the end of the file, and half of it would count.
    file.exceptions(std::ios::badbit);

    std::map<std::string, std::string> found;
    try {
        for (std::string word; file >> word;) {
            const std::size_t equals = word.find('=');
            if (equals != std::string::npos) {
                found.insert_or_assign(word.substr(0, equals), word.substr(equals + 1));
            }
        }
    } catch (const std::ios::failure&) {
        // The file could not be read any further: that is its end.
    }
    entries = std::move(found);
    return true;
}

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

bool Configuration::isValid() const
{
    return valid;
}

}
