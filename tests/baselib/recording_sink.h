#pragma once
// A sink that keeps what it is given.

#include "baselib/print/out.h"

#include <string>
#include <utility>

// Also keeps when it was locked and flushed: "<", ">" for the lock, "f", "F" for a flush of the
// sink and of all. Several may write into one record, each under its name.
class RecordingSink : public KLTout {
public:
    RecordingSink() = default;
    RecordingSink(std::string& record, std::string name)
        : record_(record), name_(std::move(name)) {}

    void olock() override { ochar('<'); }
    void orelease() override { ochar('>'); }
    int oflush(bool all) override {
        ochar(all ? 'F' : 'f');
        return 0;
    }
    int ofull() override { return 1; }
    int ochar(int c) override { return record_ += name_ + static_cast<char>(c), 1; }

    std::string take() { return std::exchange(record_, {}); }

private:
    std::string own_;
    std::string& record_ = own_;
    std::string name_;
};
