// SyncSingleton<T>: lazily created, mutex-guarded process-wide instance.
//
// Double-checked creation: instance() tests the pointer without the lock and calls
// createInstance() only when it is null; createInstance() tests again under the lock.
// The pointer is a std::atomic (acquire/release) so the unlocked test is well defined in C++;
// a plain pointer would be a data race. instance() is the test every use site would otherwise
// repeat, written once, so the use sites cannot get it wrong.
// The destroyer deletes the instance at exit and does not clear the pointer: nothing of the
// suite asks for the instance after exit has begun.
#pragma once

#include <QMutex>
#include <QMutexLocker>

#include <atomic>

template <class T> class SyncSingleton {
public:
    template <class U> class Destroyer {
    public:
        Destroyer() = default;
        ~Destroyer() { delete m_instance; }
        Destroyer(const Destroyer&) = delete;
        Destroyer& operator=(const Destroyer&) = delete;
        void set(U* instance) { m_instance = instance; }

    private:
        U* m_instance = nullptr; // deleted at exit if set
    };

    static void createInstance() {
        QMutexLocker locker(&instance_mutex);
        if (instance_pointer.load(std::memory_order_relaxed) == nullptr) {
            T* created = new T(); // a throwing constructor frees the memory (new-expression)
            instance_destroyer.set(created);
            instance_pointer.store(created, std::memory_order_release);
        }
    }

    static T* instance() {
        T* current = instance_pointer.load(std::memory_order_acquire);
        if (current == nullptr) {
            createInstance();
            current = instance_pointer.load(std::memory_order_acquire);
        }
        return current;
    }

    static inline std::atomic<T*> instance_pointer{nullptr};
    static inline QMutex instance_mutex;
    static inline Destroyer<T> instance_destroyer;
};
