#pragma once

#include <condition_variable>
#include <mutex>

namespace talkledger::testing {

/// The disk behind the files of a test program, as slow and as broken as the test wants: while it lives, it takes the
/// place of the system call that brings a file to the disk. One at a time; a program that links it has it.
class FakeDisk {
public:
    FakeDisk();
    ~FakeDisk();
    FakeDisk(const FakeDisk&) = delete;
    FakeDisk& operator=(const FakeDisk&) = delete;

    /// Syncs from now on last until `letGo`.
    void hold();
    void letGo();

    /// Syncs that end from now on fail with this errno value; 0: they do not.
    void failWith(int error);

    void waitForSyncs(int count);
    int syncs() const;
    int mostAtOnce() const;

    /// What the system call does.
    int sync();

private:
    mutable std::mutex lock_;
    std::condition_variable changed_;
    bool isHeld_{false};
    int error_{0};
    int begun_{0};
    int running_{0};
    int mostAtOnce_{0};
};

} // namespace talkledger::testing
