// HLibrary's document copies to a printer device, in pieces of at most 127 bytes.
#include "hlibrary.h"
#include "testsupport.h"

#include <QFile>

#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using testsupport::readFile;
using testsupport::writeFile;

// Lines "aaa...\n" of the given lengths (line end included).
QByteArray lines(std::initializer_list<int> lengths) {
    QByteArray text;
    for (const int length : lengths)
        text += QByteArray(length - 1, char('a' + text.count('\n') % 26)) + '\n';
    return text;
}

// A page is 'lines' pieces; a piece is a line or 127 bytes of a longer one. The target is
// written over, never truncated: what the copy does not reach stays.
TEST(HLibraryCopy, PagesAreCountedInPiecesOf127Bytes) {
    const QByteArray seven = lines({7, 7, 7, 7, 7, 7, 7});
    const QByteArray longLine = lines({300});
    // clang-format off
    const std::tuple<QByteArray, unsigned, unsigned, bool, QByteArray> copies[] = {
        {seven, 3, 1, true, seven.mid(21, 21)},
        {seven, 3, 2, true, seven.mid(42)},
        {seven.left(42), 3, 2, false, ""},
        {seven, 0, 5, true, seven},
        {longLine + "next\n", 1, 1, true, longLine.mid(127, 127)},
        {longLine + "next\n", 1, 2, true, longLine.mid(254)},
        {longLine + "next\n", 1, 3, true, "next\n"},
        {lines({127, 128}), 1, 1, true, lines({127, 128}).mid(127, 127)},
        {lines({127, 128}), 1, 2, true, "\n"},
        {QByteArray("dos\r\nnul \0 x\nno end", 19), 0, 0, true, QByteArray("dos\r\nnul \0 x\nno end", 19)},
    };
    // clang-format on
    testsupport::TempHome home;
    const QString source = home.file(QStringLiteral("source"));
    const QString target = home.file(QStringLiteral("target"));
    for (const auto& [text, pieces, page, result, copied] : copies) {
        ASSERT_TRUE(writeFile(source, text));
        ASSERT_TRUE(writeFile(target, "OLD"));
        EXPECT_EQ(HLibrary::copy(source, target, pieces, 0u, page), result) << page;
        EXPECT_BYTES(copied + QByteArray("OLD").mid(copied.size()), readFile(target));
    }
}

// A slow printer (a pipe of one page read 16 bytes at a time) gets every piece in order; a full
// one makes the copy fail.
TEST(HLibraryCopy, SlowDeviceGetsEveryPieceAndFullDeviceFails) {
    testsupport::TempHome home;
    QByteArray text;
    for (int i = 0; i < 200; ++i)
        text += lines({128 + (i * 37) % 200});
    const QString source = home.file(QStringLiteral("source"));
    ASSERT_TRUE(writeFile(source, text));
    const QString fifo = home.file(QStringLiteral("device"));
    for (const bool sheet : {false, true}) {
        ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
        QByteArray received;
        std::thread reader([&] {
            const int fd = ::open(QFile::encodeName(fifo).constData(), O_RDONLY | O_CLOEXEC);
            ::fcntl(fd, F_SETPIPE_SZ, 4096);
            char buffer[16];
            for (ssize_t size; (size = ::read(fd, buffer, sizeof buffer)) > 0;) {
                received.append(buffer, size);
                if (received.size() % 1024 < 16)
                    std::this_thread::sleep_for(std::chrono::microseconds(200));
            }
            ::close(fd);
        });
        EXPECT_TRUE(sheet ? HLibrary::copy(source, fifo, 0u, 1u)
                          : HLibrary::copy(source, fifo, 0u, 1u, 0u));
        reader.join();
        EXPECT_BYTES(text, received);
        QFile::remove(fifo);
    }
    EXPECT_FALSE(HLibrary::copy(source, QStringLiteral("/dev/full"), 0u, 0u, 0u));
    EXPECT_FALSE(HLibrary::copy(source, QStringLiteral("/dev/full"), 0u, 0u));
}

} // namespace
