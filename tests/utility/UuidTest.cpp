#include "Allocations.hpp"

#include <brindle/utility/Uuid.hpp>

#include <regex>
#include <set>
#include <string>

using brindle::utility::generateUuid;

TEST(Uuid, IsNewEachTimeInTheUsualForm)
{
    std::set<std::string> uuids;
    const std::regex form("[0-9a-fA-F]{8}(-[0-9a-fA-F]{4}){3}-[0-9a-fA-F]{12}");
    for (int count = 0; count < 100; ++count) {
        const std::string uuid = generateUuid();
        EXPECT_TRUE(std::regex_match(uuid, form) && uuids.insert(uuid).second) << uuid;
    }
    allocations::failEach(generateUuid, [] {});
}
