#ifndef AMBRELKIT_INTERNAL_EXTENSIONS_GROUPEDLIST_HPP
#define AMBRELKIT_INTERNAL_EXTENSIONS_GROUPEDLIST_HPP

#include "AmbrelKit/Internal/Extensions/GroupBy.hpp"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace AmbrelKit {

/// The order of the keys.
template <auto keyPath> struct ByKey {
    template <class Element> bool operator()(const Element& a, const Element& b) const {
        return std::invoke(keyPath, a) < std::invoke(keyPath, b);
    }
};

/// A list that holds one element for each key, the one added last, in ascending order; elements
/// that are neither before nor after each other stand in the order of their adding. `keyPath` gives
/// an element's key, `Order` its place.
///
/// A value: adding makes a new list and leaves the old one as it was. The two share nearly all they
/// hold, since an addition is only noted; the notes are put in order when the list is read, or have
/// become as many as the elements in order. So adding costs the same however long the list is, and
/// reading costs the sorting, of the notes alone where the order is that of the keys.
template <class Element, auto keyPath, class Order = ByKey<keyPath>> class GroupedList {
public:
    GroupedList() = default;

    /// The elements of `list`, each added in turn.
    explicit GroupedList(const std::vector<Element>& list) {
        Pointers candidates;
        candidates.reserve(list.size());
        for (const Element& element : list) {
            candidates.push_back(&element);
        }
        ordered_ = std::make_shared<const Elements>(inOrder(std::move(candidates)));
    }

    [[nodiscard]] GroupedList appending(Element element) const {
        GroupedList list;
        list.ordered_ = ordered_;
        list.notes_ = std::make_shared<Note>(std::move(element), notes_);
        if (list.noteCount() >= std::max(fewestNotesInOrder, list.orderedCount())) {
            list.ordered_ = std::make_shared<const Elements>(list.elements());
            list.notes_ = nullptr;
        }
        return list;
    }

    /// At least as many as the list holds: an element added again may count twice.
    [[nodiscard]] std::size_t countAtMost() const { return orderedCount() + noteCount(); }

    /// Calls `visit` with each element, in order.
    template <class Visit> void forEach(Visit visit) const {
        if (notes_) {
            const Elements all = elements();
            std::for_each(all.begin(), all.end(), visit);
        } else if (ordered_) {
            std::for_each(ordered_->begin(), ordered_->end(), visit);
        }
    }

    /// The elements in order.
    [[nodiscard]] std::vector<Element> elements() const {
        static const Elements none;
        const Elements& ordered = ordered_ ? *ordered_ : none;
        if (!notes_) {
            return ordered;
        }
        if constexpr (std::is_same_v<Order, ByKey<keyPath>>) {
            return merged(ordered, newestNotes());
        } else {
            return inOrder(candidates());
        }
    }

    /// The list of what `transform` makes of each element, which leaves it its key and its place.
    template <class Transform> [[nodiscard]] GroupedList mapped(Transform transform) const {
        Elements elements = this->elements();
        if (elements.empty()) {
            return {};
        }
        std::transform(elements.begin(), elements.end(), elements.begin(), transform);
        elements.shrink_to_fit();
        GroupedList list;
        list.ordered_ = std::make_shared<const Elements>(std::move(elements));
        return list;
    }

    /// The element that was noted last, else the last in order; null in an empty list.
    [[nodiscard]] const Element* recent() const {
        if (notes_) {
            return &notes_->element;
        }
        return orderedCount() > 0 ? &ordered_->back() : nullptr;
    }

    friend bool operator==(const GroupedList& a, const GroupedList& b) {
        return a.elements() == b.elements();
    }

private:
    using Elements = std::vector<Element>;
    using Pointers = std::vector<const Element*>;

    struct Note {
        Note(Element element, std::shared_ptr<Note> previous)
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

        Element element;
        std::shared_ptr<Note> previous;
        std::size_t count; ///< of the chain that ends here
    };

    static constexpr std::size_t fewestNotesInOrder = 64;

    static decltype(auto) keyOf(const Element* element) { return std::invoke(keyPath, *element); }
    static bool inOrderOf(const Element* a, const Element* b) { return Order{}(*a, *b); }

    [[nodiscard]] std::size_t orderedCount() const { return ordered_ ? ordered_->size() : 0; }
    [[nodiscard]] std::size_t noteCount() const { return notes_ ? notes_->count : 0; }

    /// The last note of each key, in the order of the keys.
    [[nodiscard]] Pointers newestNotes() const {
        Pointers notes; // the newest first
        notes.reserve(noteCount());
        for (const Note* note = notes_.get(); note != nullptr; note = note->previous.get()) {
            notes.push_back(&note->element);
        }
        std::stable_sort(notes.begin(), notes.end(), inOrderOf);
        const auto isRepeated = [](const Element* a, const Element* b) { return !inOrderOf(a, b); };
        notes.erase(std::unique(notes.begin(), notes.end(), isRepeated), notes.end());
        return notes;
    }

    /// Both of them, a note in the place of what has its key.
    static Elements merged(const Elements& ordered, const Pointers& notes) {
        Elements all;
        all.reserve(ordered.size() + notes.size());
        auto next = ordered.begin();
        for (const Element* note : notes) {
            for (; next != ordered.end() && Order{}(*next, *note); ++next) {
                all.push_back(*next);
            }
            if (next != ordered.end() && !Order{}(*note, *next)) {
                ++next;
            }
            all.push_back(*note);
        }
        all.insert(all.end(), next, ordered.end());
        return all;
    }

    /// What is in order, then what was added since, oldest first.
    [[nodiscard]] Pointers candidates() const {
        Pointers candidates(orderedCount() + noteCount());
        auto place = candidates.rbegin();
        for (const Note* note = notes_.get(); note != nullptr; note = note->previous.get()) {
            *place++ = &note->element;
        }
        for (std::size_t i = 0; i < orderedCount(); ++i) {
            candidates[i] = &(*ordered_)[i];
        }
        return candidates;
    }

    static Elements inOrder(Pointers candidates) {
        const auto groups = group(candidates, keyOf);
        std::erase_if(candidates,
                      [&](const Element* each) { return groups.at(keyOf(each)) != each; });
        std::stable_sort(candidates.begin(), candidates.end(), inOrderOf);
        Elements elements;
        elements.reserve(candidates.size());
        for (const Element* each : candidates) {
            elements.push_back(*each);
        }
        return elements;
    }

    std::shared_ptr<const Elements> ordered_; ///< null for none
    std::shared_ptr<Note> notes_;
};

} // namespace AmbrelKit

#endif
