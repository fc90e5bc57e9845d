#pragma once

#include <atomic>
#include <cassert>
#include <initializer_list>
#include <utility>
#include <vector>

namespace larkspool {

/// A list that copies in constant time: copies share their elements until one of them is edited.
///
/// Reading never copies. `edit()` gives the elements for change, copying this one level first if they are shared; elements
/// that are themselves shared stay so. Sharing between threads is safe as long as no thread edits an Array object that
/// another thread reads.
template <typename T>
class Array {
public:
    using value_type = T;
    using const_iterator = const T*;

    Array() = default;
    Array(std::initializer_list<T> items) : Array(std::vector<T>(items)) {}
    Array(std::vector<T> items)
    {
        if (!items.empty()) shared_ = new Shared{{1}, std::move(items)};
    }

    Array(const Array& other) noexcept : shared_(other.shared_)
    {
        if (shared_) shared_->owners.fetch_add(1, std::memory_order_relaxed);
    }
    Array(Array&& other) noexcept : shared_(std::exchange(other.shared_, nullptr)) {}
    Array& operator=(Array other) noexcept
    {
        std::swap(shared_, other.shared_);
        return *this;
    }
    ~Array() { release(); }

    std::size_t size() const { return shared_ ? shared_->items.size() : 0; }
    bool empty() const { return size() == 0; }
    const T* data() const { return shared_ ? shared_->items.data() : nullptr; }
    const_iterator begin() const { return data(); }
    const_iterator end() const { return data() + size(); }
    const T& operator[](std::size_t index) const
    {
        assert(index < size());
        return shared_->items[index];
    }
    const T& front() const { return (*this)[0]; }
    const T& back() const { return (*this)[size() - 1]; }

    /// The elements for change. The reference holds until this Array is assigned, copied from or destroyed.
    std::vector<T>& edit()
    {
        if (!shared_) {
            shared_ = new Shared{{1}, {}};
        } else if (shared_->owners.load(std::memory_order_acquire) != 1) {
            Shared* copy = new Shared{{1}, shared_->items};
            release();
            shared_ = copy;
        }
        return shared_->items;
    }

    void append(T item) { edit().push_back(std::move(item)); }

    /// Whether the two share their elements, which says that they are equal without looking at any.
    bool sharesStorageWith(const Array& other) const { return shared_ == other.shared_; }

    bool operator==(const Array& other) const
    {
        if (sharesStorageWith(other)) return true;
        if (size() != other.size()) return false;
        for (std::size_t i = 0; i < size(); ++i)
            if (!((*this)[i] == other[i])) return false;
        return true;
    }

private:
    struct Shared {
        std::atomic<std::size_t> owners;
        std::vector<T> items;
    };

    void release() noexcept
    {
        if (shared_ && shared_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared_;
    }

    Shared* shared_ = nullptr;
};

} // namespace larkspool
