#include "waiters.hpp"

#include <Poco/Condition.h>
#include <Poco/Mutex.h>

namespace {

class Waiting {
public:
    void wait(Poco::FastMutex& mutex) { condition.wait(mutex); }
    void broadcast() { condition.broadcast(); }

private:
    Poco::Condition condition;
};

BENCHMARK(release<ConditionCrowd<Poco::FastMutex, Waiting>>)->Name("release waiters/POCO")->Apply(crowds);

}
