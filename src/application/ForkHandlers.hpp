#pragma once

namespace brindle {

/// Gives the child of every fork a free mutex, an empty queue and an empty gate. Another thread may hold the
/// mutex at the moment of the fork; it does not exist in the child, which would hang in its first SIGINT or
/// its exit().
void registerForkHandlers();

}
