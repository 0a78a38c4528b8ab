// An owned object at a fixed address, with the semantics of a value: a copy copies the object, and a const
// Owned gives const access to it.
#ifndef QBSVR_QBSVRL6_MODEL_OWNED_H
#define QBSVR_QBSVRL6_MODEL_OWNED_H

#include <cstddef>
#include <memory>
#include <utility>

namespace qbsvrl6 {

template <class T>
class Owned {
public:
    Owned() = default;
    Owned(std::nullptr_t) {}
    Owned(std::unique_ptr<T> object) : object_(std::move(object)) {}

    Owned(const Owned& other) : object_(other ? std::make_unique<T>(*other) : nullptr) {}
    Owned(Owned&&) noexcept = default;
    Owned& operator=(Owned other) noexcept {
        object_.swap(other.object_);
        return *this;
    }
    ~Owned() = default;

    friend bool operator==(const Owned& owned, std::nullptr_t) { return !owned; }
    explicit operator bool() const { return object_ != nullptr; }
    T* get() { return object_.get(); }
    const T* get() const { return object_.get(); }
    T& operator*() { return *object_; }
    const T& operator*() const { return *object_; }
    T* operator->() { return object_.get(); }
    const T* operator->() const { return object_.get(); }

private:
    std::unique_ptr<T> object_;
};

}  // namespace qbsvrl6

#endif
