// entries: prints every entry of a configuration file, in the order of the keys.

#include <brindle/Configuration.hpp>

#include <iostream>

namespace {

/// Prints the entries that the base class stores.
class Listing final : public brindle::Configuration {
public:
    void print() const
    {
        for (const auto& [key, value] : entries) {
            std::cout << '"' << key << "\" = \"" << value << "\"\n";
        }
    }
};

}

int main(int argc, char** argv)
{
    Listing listing;
    if (argc != 2 || !listing.readCfgFile(argv[1])) {
        std::cerr << "usage: entries FILE, which can be opened" << std::endl;
        return 2;
    }
    listing.print();
}
