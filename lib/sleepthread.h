// SleepThread: the pause of the copy functions. The constructor starts the thread
// at once and the destructor waits for it without a time limit, so a SleepThread made and
// destroyed in one statement, `SleepThread{ms};`, blocks its creator for the pause.
// Beware `SleepThread(ms);`: C++ reads that as a declaration of a variable named ms.
#pragma once

#include <QThread>

class SleepThread : public QThread {
public:
    explicit SleepThread(unsigned long milliseconds);
    ~SleepThread() override;
    SleepThread(const SleepThread&) = delete;
    SleepThread& operator=(const SleepThread&) = delete;

protected:
    void run() override;

private:
    unsigned long m_milliseconds; // the pause; the only thing shared with the thread
};
