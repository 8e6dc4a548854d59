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
    if (block < 0) return;
    void* const attached = shmat(block, nullptr, 0);
    if (reinterpret_cast<std::intptr_t>(attached) != shmatFailed)
        address = attached;
    else
        remove();
}

// Detaching and removing can fail only where the block is gone already.
KLTsharedMemory::~KLTsharedMemory() {
    if (address) static_cast<void>(shmdt(address));
    remove();
}

void KLTsharedMemory::open(int key, std::size_t size) {
    block = shmget(key, size, IPC_CREAT | IPC_EXCL | accessMode);
    isOwner = block >= 0;
    if (!isOwner && errno == EEXIST) block = shmget(key, size, accessMode);
}

void KLTsharedMemory::remove() {
    if (isOwner) static_cast<void>(shmctl(block, IPC_RMID, nullptr));
    isOwner = false;
}
