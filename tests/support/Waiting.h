#pragma once

#include <QEventLoop>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>

namespace zorbel::test {

/// Far more than the slowest machine needs, so that only a hang is a failure.
inline constexpr int patienceMs = 300'000;

template <class Condition>
bool waitFor(Condition condition) {
    return QTest::qWaitFor(condition, patienceMs);
}

/// For the signal, which may have come before.
inline bool waitFor(QSignalSpy& spy) {
    return spy.count() > 0 || spy.wait(patienceMs);
}

/// Lets happen what was put off to the event loop, and what that puts off in turn.
inline void settle() {
    for (int round = 0; round < 5; ++round) {
        QEventLoop loop;
        QTimer::singleShot(0, &loop, &QEventLoop::quit);
        loop.exec();
    }
}

} // namespace zorbel::test
