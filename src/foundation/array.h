#pragma once

#include <atomic>
#include <cassert>
#include <compare>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <type_traits>
#include <utility>
#include <vector>

namespace larkspool {

/// Whether lists of T share each element for itself, so that changing one element of a copied list copies that element and the
/// list of pointers, not all others. Worth its allocation for large records that are changed one at a time. T may be incomplete.
template <typename T>
inline constexpr bool keepsElementsApart = false;

/// The elements of such a list: used like a vector, and an element that is shared with a copy of the list is copied when it is
/// reached for change.
template <typename T>
class ApartElements {
    struct Box {
        std::atomic<std::size_t> owners;
        T item;
    };

    /// A share in one element.
    class Share {
    public:
        explicit Share(T item) : box_(new Box{{1}, std::move(item)}) {}
        Share(const Share& other) noexcept : box_(other.box_) { box_->owners.fetch_add(1, std::memory_order_relaxed); }
        Share(Share&& other) noexcept : box_(std::exchange(other.box_, nullptr)) {}
        Share& operator=(Share other) noexcept
        {
            std::swap(box_, other.box_);
            return *this;
        }
        ~Share()
        {
            if (box_ && box_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete box_;
        }

        const T& get() const { return box_->item; }
        T& edit()
        {
            if (box_->owners.load(std::memory_order_acquire) != 1) *this = Share(box_->item);
            return box_->item;
        }
        bool isSameAs(const Share& other) const { return box_ == other.box_; }

    private:
        Box* box_;
    };

    template <typename Pointer, typename Reference>
    class Iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = std::remove_reference_t<Reference>*;
        using reference = Reference;

        Iterator() = default;
        explicit Iterator(Pointer at) : at_(at) {}
        /// What only reads can be had from what also changes.
        template <typename Other>
            requires std::is_convertible_v<Other, Pointer>
        Iterator(const Iterator<Other, T&>& other) : at_(other.at())
        {}

        Reference operator*() const
        {
            if constexpr (std::is_const_v<std::remove_reference_t<Reference>>)
                return at_->get();
            else
                return at_->edit();
        }
        pointer operator->() const { return &**this; }
        Reference operator[](difference_type n) const { return *(*this + n); }
        Iterator& operator++() { return *this += 1; }
        Iterator& operator--() { return *this += -1; }
        Iterator operator++(int) { return std::exchange(*this, *this + 1); }
        Iterator operator--(int) { return std::exchange(*this, *this - 1); }
        Iterator& operator+=(difference_type n)
        {
            at_ += n;
            return *this;
        }
        Iterator& operator-=(difference_type n) { return *this += -n; }
        friend Iterator operator+(Iterator it, difference_type n) { return it += n; }
        friend Iterator operator+(difference_type n, Iterator it) { return it += n; }
        friend Iterator operator-(Iterator it, difference_type n) { return it -= n; }
        friend difference_type operator-(Iterator a, Iterator b) { return a.at_ - b.at_; }
        friend auto operator<=>(Iterator a, Iterator b) { return a.at_ <=> b.at_; }
        friend bool operator==(Iterator a, Iterator b) { return a.at_ == b.at_; }

        Pointer at() const { return at_; }

    private:
        Pointer at_ = nullptr;
    };

public:
    using value_type = T;
    using const_iterator = Iterator<const Share*, const T&>;
    using iterator = Iterator<Share*, T&>; ///< Reaching an element through it is reaching it for change.

    ApartElements() = default;
    explicit ApartElements(std::vector<T> items)
    {
        shares_.reserve(items.size());
        for (T& item : items) shares_.emplace_back(std::move(item));
    }

    std::size_t size() const { return shares_.size(); }
    bool empty() const { return shares_.empty(); }
    const_iterator begin() const { return const_iterator(shares_.data()); }
    const_iterator end() const { return const_iterator(shares_.data() + shares_.size()); }
    iterator begin() { return iterator(shares_.data()); }
    iterator end() { return iterator(shares_.data() + shares_.size()); }
    const T& operator[](std::size_t index) const { return shares_[index].get(); }
    T& operator[](std::size_t index) { return shares_[index].edit(); }
    const T& front() const { return shares_.front().get(); }
    T& front() { return shares_.front().edit(); }
    const T& back() const { return shares_.back().get(); }
    T& back() { return shares_.back().edit(); }

    void reserve(std::size_t count) { shares_.reserve(count); }
    void clear() { shares_.clear(); }
    void push_back(T item) { shares_.emplace_back(std::move(item)); }
    void pop_back() { shares_.pop_back(); }
    iterator insert(const_iterator before, T item)
    {
        const auto at = shares_.insert(place(before), Share(std::move(item)));
        return iterator(shares_.data() + (at - shares_.begin()));
    }
    iterator erase(const_iterator at) { return erase(at, at + 1); }
    iterator erase(const_iterator first, const_iterator last)
    {
        const auto at = shares_.erase(place(first), place(last));
        return iterator(shares_.data() + (at - shares_.begin()));
    }

    /// Whether the elements at that place are one and the same.
    bool sharesElementWith(const ApartElements& other, std::size_t index) const
    {
        return shares_[index].isSameAs(other.shares_[index]);
    }

private:
    auto place(const_iterator at) const { return shares_.begin() + (at.at() - shares_.data()); }

    std::vector<Share> shares_;
};

/// A list that copies in constant time: copies share their elements until one of them is edited.
///
/// Reading never copies. `edit()` gives the elements for change, copying this one level first if they are shared; elements
/// that are themselves shared stay so. Sharing between threads is safe as long as no thread edits an Array object that
/// another thread reads.
template <typename T>
class Array {
public:
    using value_type = T;
    /// What `edit` gives.
    using Elements = std::conditional_t<keepsElementsApart<T>, ApartElements<T>, std::vector<T>>;

    Array() = default;
    Array(std::initializer_list<T> items) : Array(std::vector<T>(items)) {}
    Array(std::vector<T> items)
    {
        if (!items.empty()) shared_ = new Shared{{1}, Elements(std::move(items))};
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
    const T* data() const
        requires(!keepsElementsApart<T>)
    {
        return shared_ ? shared_->items.data() : nullptr;
    }
    auto begin() const
    {
        if constexpr (keepsElementsApart<T>)
            return shared_ ? elements().begin() : typename Elements::const_iterator();
        else
            return data();
    }
    auto end() const { return begin() + static_cast<std::ptrdiff_t>(size()); }
    const T& operator[](std::size_t index) const
    {
        assert(index < size());
        return elements()[index];
    }
    const T& front() const { return (*this)[0]; }
    const T& back() const { return (*this)[size() - 1]; }

    /// The elements for change. The reference holds until this Array is assigned, copied from or destroyed.
    Elements& edit()
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
            if (!sharesElementWith(other, i) && !((*this)[i] == other[i])) return false;
        return true;
    }

private:
    struct Shared {
        std::atomic<std::size_t> owners;
        Elements items;
    };

    const Elements& elements() const { return shared_->items; }
    bool sharesElementWith(const Array& other, std::size_t index) const
    {
        if constexpr (keepsElementsApart<T>)
            return elements().sharesElementWith(other.elements(), index);
        else
            return false;
    }

    void release() noexcept
    {
        if (shared_ && shared_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) delete shared_;
    }

    Shared* shared_ = nullptr;
};

} // namespace larkspool
