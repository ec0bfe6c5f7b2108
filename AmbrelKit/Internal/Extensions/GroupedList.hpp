#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_GROUPEDLIST_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_GROUPEDLIST_HPP

#include "AmbrelKit/Internal/Extensions/GroupBy.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace AmbrelKit {

/// A list that holds one element for each key, the one added last, in ascending order; elements
/// that are neither before nor after each other stand in the order of their adding. `keyPath` gives
/// an element's key, `Order` its place.
///
/// A value: adding makes a new list and leaves the old one as it was. The two share nearly all they
/// hold, since an addition is only noted; the notes are put in order when the list is read, or have
/// become as many as the elements in order. So adding costs the same however long the list is, and
/// reading costs the sorting.
template <class Element, auto keyPath, class Order = std::less<Element>> class GroupedList {
public:
    GroupedList() = default;

    /// The elements of `list`, each added in turn.
    explicit GroupedList(const std::vector<Element>& list) {
        Handles handles;
        handles.reserve(list.size());
        for (const Element& element : list) {
            handles.push_back(std::make_shared<const Element>(element));
        }
        ordered_ = std::make_shared<const Handles>(inOrder(handles));
    }

    [[nodiscard]] GroupedList appending(Element element) const {
        GroupedList list = *this;
        list.notes_ =
            std::make_shared<Note>(std::make_shared<const Element>(std::move(element)), notes_);
        if (list.noteCount() >= std::max(fewestNotesInOrder, list.orderedCount())) {
            list.ordered_ = std::make_shared<const Handles>(inOrder(list.candidates()));
            list.notes_ = nullptr;
        }
        return list;
    }

    /// At least as many as the list holds: an element added again may count twice.
    [[nodiscard]] std::size_t countAtMost() const { return orderedCount() + noteCount(); }

    /// The elements in order.
    [[nodiscard]] std::vector<Element> elements() const {
        const Handles handles = notes_ ? inOrder(candidates()) : candidates();
        std::vector<Element> elements;
        elements.reserve(handles.size());
        for (const Handle& handle : handles) {
            elements.push_back(*handle);
        }
        return elements;
    }

    friend bool operator==(const GroupedList& a, const GroupedList& b) {
        return a.elements() == b.elements();
    }

private:
    using Handle = std::shared_ptr<const Element>;
    using Handles = std::vector<Handle>;

    struct Note {
        Note(Handle element, std::shared_ptr<Note> previous)
            : element(std::move(element)), previous(std::move(previous)),
              count(this->previous ? this->previous->count + 1 : 1) {}
        Note(const Note&) = delete;
        Note& operator=(const Note&) = delete;
        ~Note() { // one after the other: a long chain would exhaust the stack
            std::shared_ptr<Note> next = std::move(previous);
            while (next.use_count() == 1) {
                next = std::exchange(next->previous, nullptr);
            }
        }

        Handle element;
        std::shared_ptr<Note> previous;
        std::size_t count; ///< of the chain that ends here
    };

    static constexpr std::size_t fewestNotesInOrder = 64;

    static decltype(auto) keyOf(const Handle& handle) { return std::invoke(keyPath, *handle); }

    [[nodiscard]] std::size_t orderedCount() const { return ordered_ ? ordered_->size() : 0; }
    [[nodiscard]] std::size_t noteCount() const { return notes_ ? notes_->count : 0; }

    /// What is in order, then what was added since, oldest first.
    [[nodiscard]] Handles candidates() const {
        Handles candidates = ordered_ ? *ordered_ : Handles();
        candidates.resize(orderedCount() + noteCount());
        auto place = candidates.rbegin();
        for (const Note* note = notes_.get(); note != nullptr; note = note->previous.get()) {
            *place++ = note->element;
        }
        return candidates;
    }

    static Handles inOrder(Handles candidates) {
        const auto groups = group(candidates, keyOf);
        std::erase_if(candidates,
                      [&](const Handle& handle) { return groups.at(keyOf(handle)) != handle; });
        std::stable_sort(candidates.begin(), candidates.end(),
                         [](const Handle& a, const Handle& b) { return Order{}(*a, *b); });
        return candidates;
    }

    std::shared_ptr<const Handles> ordered_; ///< null for none
    std::shared_ptr<Note> notes_;
};

} // namespace AmbrelKit

#endif
