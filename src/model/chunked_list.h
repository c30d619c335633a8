// ChunkedList: a list of values kept in fixed-size chunks that copies of the list
// share, so copying a year of learned decisions copies a few hundred pointers, and
// changing or appending one value copies only its chunk (copy on write). Reads look
// like a std::vector's (size, [], iteration); writes are explicit: push_back,
// edit(i), erase, clear. Two lists sharing a chunk hold the same values there, so
// comparing or diffing them costs only the chunks that differ (forEachChanged).
// A list is written only by the thread that owns it; a chunk is written only while
// no other list shares it, so copies handed to other threads may be read freely.
// A short list whose values are edited often (the projects) takes a small N, so an
// edit copies few neighbours.
// Hand-written: Debian 12 packages no persistent-vector library.
#pragma once

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

namespace kelo {

template <class T, std::size_t N = 256>
class ChunkedList {
    using Chunk = std::vector<T>;

public:
    static constexpr std::size_t kChunk = N;

    using value_type = T;
    using size_type = std::size_t;
    using difference_type = std::ptrdiff_t;
    using reference = const T&;
    using const_reference = const T&;

    class const_iterator {
    public:
        using iterator_category = std::random_access_iterator_tag;
        using value_type = T;
        using difference_type = std::ptrdiff_t;
        using pointer = const T*;
        using reference = const T&;

        const_iterator() = default;
        const_iterator(const ChunkedList* list, std::size_t at) : list_(list), at_(at) {}

        reference operator*() const { return (*list_)[at_]; }
        pointer operator->() const { return &(*list_)[at_]; }
        reference operator[](difference_type n) const { return (*list_)[at_ + static_cast<std::size_t>(n)]; }
        const_iterator& operator++() { return ++at_, *this; }
        const_iterator operator++(int) { return {list_, at_++}; }
        const_iterator& operator--() { return --at_, *this; }
        const_iterator operator--(int) { return {list_, at_--}; }
        const_iterator& operator+=(difference_type n) { return at_ += static_cast<std::size_t>(n), *this; }
        const_iterator& operator-=(difference_type n) { return at_ -= static_cast<std::size_t>(n), *this; }
        friend const_iterator operator+(const_iterator it, difference_type n) { return it += n; }
        friend const_iterator operator+(difference_type n, const_iterator it) { return it += n; }
        friend const_iterator operator-(const_iterator it, difference_type n) { return it -= n; }
        friend difference_type operator-(const const_iterator& a, const const_iterator& b) {
            return static_cast<difference_type>(a.at_) - static_cast<difference_type>(b.at_);
        }
        friend bool operator==(const const_iterator& a, const const_iterator& b) { return a.at_ == b.at_; }
        friend auto operator<=>(const const_iterator& a, const const_iterator& b) { return a.at_ <=> b.at_; }

        std::size_t position() const { return at_; }

    private:
        const ChunkedList* list_ = nullptr;
        std::size_t at_ = 0;
    };
    using iterator = const_iterator;

    ChunkedList() = default;
    ChunkedList(std::initializer_list<T> values) { append(values.begin(), values.end()); }
    ChunkedList(const std::vector<T>& values) { append(values.begin(), values.end()); }  // NOLINT: a list is a list
    ChunkedList(std::vector<T>&& values) {  // NOLINT: a decoded list moves in
        append(std::make_move_iterator(values.begin()), std::make_move_iterator(values.end()));
    }
    template <class It>
    ChunkedList(It first, It last) {
        append(first, last);
    }

    std::size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    const T& operator[](std::size_t i) const { return (*chunks_[i / kChunk])[i % kChunk]; }
    const T& at(std::size_t i) const {
        if (i >= size_) throw std::out_of_range("ChunkedList::at");
        return (*this)[i];
    }
    const T& front() const { return (*this)[0]; }
    const T& back() const { return (*this)[size_ - 1]; }
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, size_}; }

    void push_back(T value) {
        if (size_ % kChunk == 0) {
            chunks_.push_back(std::make_shared<Chunk>());
            chunks_.back()->reserve(kChunk);
        }
        own(chunks_.size() - 1).push_back(std::move(value));
        ++size_;
    }
    // The value at `i`, for writing; its chunk stops being shared.
    T& edit(std::size_t i) { return own(i / kChunk)[i % kChunk]; }
    // Removes one value; the chunks from its own to the end are rewritten.
    const_iterator erase(const_iterator at) {
        const std::size_t i = at.position();
        std::vector<T> tail(begin() + static_cast<difference_type>(i) + 1, end());
        truncate(i);
        for (auto& value : tail) push_back(std::move(value));
        return {this, i};
    }
    void truncate(std::size_t count) {
        if (count >= size_) return;
        chunks_.resize((count + kChunk - 1) / kChunk);
        if (count % kChunk != 0) own(chunks_.size() - 1).resize(count % kChunk);
        size_ = count;
    }
    void clear() {
        chunks_.clear();
        size_ = 0;
    }

    // Calls `changed(i)` for each position below both sizes whose value differs from
    // `before`'s, in order, looking only into chunks the two lists do not share.
    template <class F>
    void forEachChanged(const ChunkedList& before, F&& changed) const {
        const std::size_t common = std::min(size_, before.size_);
        for (std::size_t c = 0; c * kChunk < common; ++c) {
            if (chunks_[c] == before.chunks_[c]) continue;
            const std::size_t end = std::min(common, (c + 1) * kChunk);
            for (std::size_t i = c * kChunk; i < end; ++i)
                if (!((*this)[i] == before[i])) changed(i);
        }
    }

    friend bool operator==(const ChunkedList& a, const ChunkedList& b) {
        if (a.size_ != b.size_) return false;
        bool same = true;
        a.forEachChanged(b, [&](std::size_t) { same = false; });
        return same;
    }

private:
    template <class It>
    void append(It first, It last) {
        for (; first != last; ++first) push_back(*first);
    }
    Chunk& own(std::size_t c) {
        if (chunks_[c].use_count() != 1) {
            auto copy = std::make_shared<Chunk>();
            copy->reserve(kChunk);
            copy->assign(chunks_[c]->begin(), chunks_[c]->end());
            chunks_[c] = std::move(copy);
        }
        return *chunks_[c];
    }

    // Every chunk but the last holds kChunk values; the last holds 1..kChunk.
    std::vector<std::shared_ptr<Chunk>> chunks_;
    std::size_t size_ = 0;
};

}  // namespace kelo
