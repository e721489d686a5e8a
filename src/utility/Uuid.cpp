#include <brindle/utility/Uuid.hpp>

#include <uuid.h>

namespace brindle::utility {

std::string generateUuid()
{
    uuid_t uuid;
    char text[UUID_STR_LEN]; // includes the terminating zero
    uuid_generate(uuid);
    uuid_unparse(uuid, text);
    return std::string(text, sizeof text - 1);
}

}
