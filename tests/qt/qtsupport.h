// Helpers the in-process Qt tests share.
#pragma once

#include <QCoreApplication>
#include <QEventLoop>

#include <chrono>

namespace qtsupport {

// Runs the event loop until the condition holds or the limit passes.
template <typename Condition>
bool pumpuntil(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
    return true;
}

} // namespace qtsupport
