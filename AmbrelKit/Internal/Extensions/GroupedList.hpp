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
/// A value: adding makes a new list and leaves the old one as it was. The two share all they hold,
/// since an addition is only noted behind what both have; the notes are put in order when the list
/// is read, or have become as many as the elements in order. So adding costs the same however long
/// the list is, and reading costs the sorting, of the notes alone where the order is that of the
/// keys. Only adding to a list that has been added to before costs as much as reading it.
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
        content_ = std::make_shared<Content>(copies(inOrder(std::move(candidates))));
    }

    [[nodiscard]] GroupedList appending(Element element) const {
        GroupedList list = hasRoom() ? *this : GroupedList(InOrder{}, elements());
        Elements& notes = list.content_->notes;
        if (notes.empty()) {
            notes.reserve(list.room());
        }
        notes.push_back(std::move(element));
        ++list.noteCount_;
        return list;
    }

    /// At least as many as the list holds: an element added again may count twice.
    [[nodiscard]] std::size_t countAtMost() const { return ordered().size() + noteCount(); }

    /// Calls `visit` with each element, in order.
    template <class Visit> void forEach(Visit visit) const {
        if (noteCount() == 0) {
            std::for_each(ordered().begin(), ordered().end(), visit);
            return;
        }
        for (const Element* each : withNotes()) {
            visit(*each);
        }
    }

    /// The elements in order.
    [[nodiscard]] std::vector<Element> elements() const {
        return noteCount() == 0 ? ordered() : copies(withNotes());
    }

    /// The list of what `transform` makes of each element, which leaves it its key and its place.
    template <class Transform> [[nodiscard]] GroupedList mapped(Transform transform) const {
        Elements elements = this->elements();
        if (elements.empty()) {
            return {};
        }
        std::transform(elements.begin(), elements.end(), elements.begin(), transform);
        elements.shrink_to_fit();
        return GroupedList(InOrder{}, std::move(elements));
    }

    /// The element that was noted last, else the last in order; null in an empty list.
    [[nodiscard]] const Element* recent() const {
        if (noteCount() > 0) {
            return &content_->notes[noteCount() - 1];
        }
        return ordered().empty() ? nullptr : &ordered().back();
    }

    friend bool operator==(const GroupedList& a, const GroupedList& b) {
        return a.elements() == b.elements();
    }

private:
    using Elements = std::vector<Element>;
    using Pointers = std::vector<const Element*>;

    struct InOrder {};

    /// What lists share that came from one another. It only grows.
    struct Content {
        explicit Content(Elements ordered) : ordered(std::move(ordered)) {}
        const Elements ordered;
        Elements notes;
    };

    static constexpr std::size_t fewestNotesInOrder = 64;

    GroupedList(InOrder /*tag*/, Elements elements)
        : content_(std::make_shared<Content>(std::move(elements))) {}

    [[nodiscard]] const Elements& ordered() const {
        static const Elements none;
        return content_ ? content_->ordered : none;
    }

    [[nodiscard]] std::size_t noteCount() const {
        return content_ ? noteCount_ : 0; // a list that was moved from is empty
    }

    /// Whether a note may follow: the last of the content is this list's, and they are not too
    /// many.
    [[nodiscard]] bool hasRoom() const {
        return content_ && content_->notes.size() == noteCount() && noteCount() < room();
    }

    /// How many notes there may be before they are put in order.
    [[nodiscard]] std::size_t room() const {
        return std::max(fewestNotesInOrder, ordered().size());
    }

    static decltype(auto) keyOf(const Element* element) { return std::invoke(keyPath, *element); }
    static bool inOrderOf(const Element* a, const Element* b) { return Order{}(*a, *b); }

    /// The elements in order, where they are.
    [[nodiscard]] Pointers withNotes() const {
        if constexpr (std::is_same_v<Order, ByKey<keyPath>>) {
            return merged(ordered(), newestNotes());
        } else {
            return inOrder(candidates());
        }
    }

    /// The last note of each key, in the order of the keys.
    [[nodiscard]] Pointers newestNotes() const {
        Pointers notes; // the newest first
        notes.reserve(noteCount());
        for (std::size_t i = noteCount(); i > 0; --i) {
            notes.push_back(&content_->notes[i - 1]);
        }
        std::stable_sort(notes.begin(), notes.end(), inOrderOf);
        const auto isRepeated = [](const Element* a, const Element* b) { return !inOrderOf(a, b); };
        notes.erase(std::unique(notes.begin(), notes.end(), isRepeated), notes.end());
        return notes;
    }

    /// Both of them, a note in the place of what has its key.
    static Pointers merged(const Elements& ordered, const Pointers& notes) {
        Pointers all;
        all.reserve(ordered.size() + notes.size());
        auto next = ordered.begin();
        for (const Element* note : notes) {
            for (; next != ordered.end() && Order{}(*next, *note); ++next) {
                all.push_back(&*next);
            }
            if (next != ordered.end() && !Order{}(*note, *next)) {
                ++next;
            }
            all.push_back(note);
        }
        for (; next != ordered.end(); ++next) {
            all.push_back(&*next);
        }
        return all;
    }

    /// What is in order, then what was added since, oldest first.
    [[nodiscard]] Pointers candidates() const {
        Pointers candidates;
        candidates.reserve(countAtMost());
        for (const Element& element : ordered()) {
            candidates.push_back(&element);
        }
        for (std::size_t i = 0; i < noteCount(); ++i) {
            candidates.push_back(&content_->notes[i]);
        }
        return candidates;
    }

    /// Of `candidates` the last of each key.
    static Pointers inOrder(Pointers candidates) {
        Pointers newest;
        newest.reserve(candidates.size());
        for (const auto& [key, each] : group(candidates, keyOf)) {
            newest.push_back(each);
        }
        std::sort(newest.begin(), newest.end(), std::less<>());
        std::erase_if(candidates, [&](const Element* each) {
            return !std::binary_search(newest.begin(), newest.end(), each, std::less<>());
        });
        std::stable_sort(candidates.begin(), candidates.end(), inOrderOf);
        return candidates;
    }

    static Elements copies(const Pointers& pointers) {
        Elements elements;
        elements.reserve(pointers.size());
        for (const Element* each : pointers) {
            elements.push_back(*each);
        }
        return elements;
    }

    std::shared_ptr<Content> content_; ///< null for none
    std::size_t noteCount_ = 0;        ///< how many of the content's notes are this list's
};

} // namespace AmbrelKit

#endif
