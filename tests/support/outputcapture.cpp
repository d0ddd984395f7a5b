#include "outputcapture.h"

#include "testsupport.h"

#include <QFile>
#include <QTemporaryDir>

#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace testsupport {

namespace {

// Points fd at path until restore(); -1 in saved means the redirection failed.
struct Redirection {
    int fd;
    int saved = -1;

    Redirection(int target, const QString& path) : fd(target) {
        const int file = ::open(QFile::encodeName(path).constData(),
                                O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        if (file < 0)
            return;
        saved = ::dup(fd);
        if (saved >= 0 && ::dup2(file, fd) < 0) {
            ::close(saved);
            saved = -1;
        }
        ::close(file);
    }

    void restore() {
        if (saved < 0)
            return;
        ::dup2(saved, fd);
        ::close(saved);
        saved = -1;
    }
};

void flushAll() {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(stdout);
    std::fflush(stderr);
}

} // namespace

CapturedOutput captureOutput(const std::function<void()>& action) {
    QTemporaryDir dir;
    EXPECT_TRUE(dir.isValid());
    const QString outPath = dir.filePath(QStringLiteral("stdout"));
    const QString errPath = dir.filePath(QStringLiteral("stderr"));
    flushAll();
    Redirection out(STDOUT_FILENO, outPath);
    Redirection err(STDERR_FILENO, errPath);
    EXPECT_GE(out.saved, 0);
    EXPECT_GE(err.saved, 0);
    action();
    flushAll();
    err.restore();
    out.restore();
    return CapturedOutput{readFile(outPath), readFile(errPath)};
}

} // namespace testsupport
