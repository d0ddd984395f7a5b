#include "sleepthread.h"

// The field is set before start(), so the thread may begin before the constructor returns.
SleepThread::SleepThread(unsigned long milliseconds) : m_milliseconds(milliseconds) {
    start();
}

SleepThread::~SleepThread() {
    wait(); // no time limit: this is what makes the creator wait out the pause
}

void SleepThread::run() {
    QThread::msleep(m_milliseconds);
}
