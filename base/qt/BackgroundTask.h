#pragma once

#include "platform/threads/StackGuard.h"

#include <QFutureWatcher>
#include <QObject>
#include <QThreadPool>
#include <QtConcurrent>

#include <type_traits>
#include <utility>

namespace zorbel {

/// Runs `task` (a function with value arguments that does not throw) in the pool and hands its result to
/// `receive` on the receiver's thread; nothing is delivered once the receiver is gone. Code that uses this
/// links Qt Concurrent.
template <typename Task, typename Receive>
void runInBackground(QThreadPool& pool, QObject* receiver, Task task, Receive receive) {
    using Result = std::invoke_result_t<Task>;
    auto* watcher = new QFutureWatcher<Result>(receiver);
    QObject::connect(watcher, &QFutureWatcherBase::finished, receiver, [watcher, receive] {
        watcher->deleteLater();
        receive(watcher->result());
    });
    watcher->setFuture(QtConcurrent::run(&pool, [task = std::move(task)]() mutable {
        guardThreadStack();
        return task();
    }));
}

} // namespace zorbel
