#pragma once

namespace brindle {

/// Registers the handlers that give the child of every fork a free mutex, an empty queue and an empty gate.
///
/// Without them the child could hang in its first SIGINT or exit(): another thread of the parent may hold the mutex at
/// the moment of the fork, and that thread does not exist in the child. Further calls have no effect.
void registerForkHandlers();

}
