#include "waiters.hpp"

#include <QMutex>
#include <QWaitCondition>

namespace {

class Waiting {
public:
    void wait(QMutex& mutex) { condition.wait(&mutex); }
    void broadcast() { condition.wakeAll(); }

private:
    QWaitCondition condition;
};

BENCHMARK(release<ConditionCrowd<QMutex, Waiting>>)->Name("release waiters/Qt")->Apply(crowds);

}
