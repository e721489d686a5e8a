#include <brindle/threads/ScopedLock.hpp> // defines it all; here the library gets its copy
