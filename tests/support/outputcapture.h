// What a piece of code writes to the process's standard output and standard error, captured
// at the descriptor level (so std::cout, printf and Qt's messages are all caught): fds 1 and 2
// are pointed at files in a temporary folder while the action runs, then restored.
#pragma once

#include <QByteArray>

#include <functional>

namespace testsupport {

struct CapturedOutput {
    QByteArray out; // standard output
    QByteArray err; // standard error
};

CapturedOutput captureOutput(const std::function<void()>& action);

} // namespace testsupport
