#pragma once
// Manipulators: objects that act on a print object when they are printed.

class KLTprint;

class KLTmodifier {
public:
    constexpr KLTmodifier() = default;
    constexpr KLTmodifier(const KLTmodifier&) = default;
    KLTmodifier& operator=(const KLTmodifier&) = delete;
    constexpr virtual ~KLTmodifier() {}
    virtual void action(KLTprint& print) const = 0;
};

// Calls a function with the print object.
class KLTmodifier0 : public KLTmodifier {
public:
    using Function = void (*)(KLTprint&);
    constexpr explicit KLTmodifier0(Function function) : function_(function) {}
    constexpr ~KLTmodifier0() override {}
    void action(KLTprint& print) const override { function_(print); }

private:
    Function function_;
};

// ... and with one, two or three numbers.
class KLTmodifier1 : public KLTmodifier {
public:
    using Function = void (*)(KLTprint&, int);
    constexpr KLTmodifier1(Function function, int a) : function_(function), a_(a) {}
    constexpr ~KLTmodifier1() override {}
    void action(KLTprint& print) const override { function_(print, a_); }

private:
    Function function_;
    int a_;
};

class KLTmodifier2 : public KLTmodifier {
public:
    using Function = void (*)(KLTprint&, int, int);
    constexpr KLTmodifier2(Function function, int a, int b) : function_(function), a_(a), b_(b) {}
    constexpr ~KLTmodifier2() override {}
    void action(KLTprint& print) const override { function_(print, a_, b_); }

private:
    Function function_;
    int a_;
    int b_;
};

class KLTmodifier3 : public KLTmodifier {
public:
    using Function = void (*)(KLTprint&, int, int, int);
    constexpr KLTmodifier3(Function function, int a, int b, int c)
        : function_(function), a_(a), b_(b), c_(c) {}
    constexpr ~KLTmodifier3() override {}
    void action(KLTprint& print) const override { function_(print, a_, b_, c_); }

private:
    Function function_;
    int a_;
    int b_;
    int c_;
};

// What a user's manipulator keeps in one print object. Belongs to that print object.
class KLTmodifierUserData {
public:
    KLTmodifierUserData() = default;
    KLTmodifierUserData(const KLTmodifierUserData&) = delete;
    KLTmodifierUserData& operator=(const KLTmodifierUserData&) = delete;
    virtual ~KLTmodifierUserData() = default;
    // Back to the state of a new record: `norm` and `persistent(false)` call it.
    virtual void reset() = 0;

private:
    friend class KLTmodifierUser;
    friend class KLTprint;
    const void* key_ = nullptr;
    KLTmodifierUserData* next_ = nullptr;
};

// A manipulator that keeps data in each print object that it acts on.
class KLTmodifierUser : public KLTmodifier {
public:
    // key: tells this kind of manipulator from all others; the address of something of its
    // own, for instance.
    constexpr explicit KLTmodifierUser(const void* key) : key_(key) {}
    void action(KLTprint& print) const override;
    const void* key() const { return key_; }

protected:
    // Acts on the print object. data: its record; null the first time, when a new record is
    // returned, which the print object owns from then on. Null is no record. Otherwise the
    // return value counts for nothing.
    virtual KLTmodifierUserData* apply(KLTprint& print, KLTmodifierUserData* data) const = 0;

private:
    const void* key_;
};
