#pragma once

#include <cstddef>

// A block of memory that processes share under a number (System V shared memory).
//
// The constructor opens the block of that key, or creates it, zeroed, where none is there;
// others than its owner may only read it. The destructor detaches it, and removes it when
// this object created it. Addresses into it are invalid from then on.
class KLTsharedMemory {
public:
    // key: at least 1. size: bytes needed.
    KLTsharedMemory(int key, std::size_t size);
    ~KLTsharedMemory();
    KLTsharedMemory(const KLTsharedMemory&) = delete;
    KLTsharedMemory& operator=(const KLTsharedMemory&) = delete;

    // The block, or null when it could not be had: no rights, no memory, a key below 1, or
    // a smaller block is there already.
    void* memory() const { return address_; }

private:
    void open(int key, std::size_t size);
    void remove();

    int block_ = -1;
    bool isOwner_ = false;
    void* address_ = nullptr;
};
