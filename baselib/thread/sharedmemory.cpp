#include "baselib/thread/sharedmemory.h"

#include <cerrno>
#include <cstdint>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace {

constexpr int accessMode = 0644;
constexpr std::intptr_t shmatFailed = -1;

} // namespace

KLTsharedMemory::KLTsharedMemory(int key, std::size_t size) {
    if (key < 1) return;
    open(key, size);
    if (block_ < 0) return;
    void* const attached = shmat(block_, nullptr, 0);
    if (reinterpret_cast<std::intptr_t>(attached) != shmatFailed)
        address_ = attached;
    else
        remove();
}

// Detaching and removing can fail only where the block is gone already.
KLTsharedMemory::~KLTsharedMemory() {
    if (address_) static_cast<void>(shmdt(address_));
    remove();
}

void KLTsharedMemory::open(int key, std::size_t size) {
    block_ = shmget(key, size, IPC_CREAT | IPC_EXCL | accessMode);
    isOwner_ = block_ >= 0;
    if (!isOwner_ && errno == EEXIST) block_ = shmget(key, size, accessMode);
}

void KLTsharedMemory::remove() {
    if (isOwner_) static_cast<void>(shmctl(block_, IPC_RMID, nullptr));
    isOwner_ = false;
}
