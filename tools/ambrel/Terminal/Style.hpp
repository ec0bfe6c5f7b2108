#ifndef AMBREL_STYLE_HPP
#define AMBREL_STYLE_HPP

#include <string>
#include <string_view>

namespace Ambrel {

/// What a text is to its reader. Nothing is said by its colour alone.
enum class Meaning {
    plain,
    heading,
    faint,   ///< of little use, or not there
    good,    ///< works
    caution, ///< works in part
    bad,     ///< does not work
    fresh,   ///< was not there before
};

/// The choice of --color.
enum class ColorChoice { automatic, always, never };

/// How texts look where they are written. Decided once for each descriptor.
class Style {
public:
    /// Without colours.
    Style() = default;
    /// `automatic` is a terminal that is not dumb, while NO_COLOR is unset or empty.
    Style(int descriptor, ColorChoice choice);

    [[nodiscard]] bool hasColors() const { return hasColors_; }

    /// The text with what makes the terminal show its meaning.
    [[nodiscard]] std::string operator()(Meaning meaning, std::string_view text) const;

private:
    bool hasColors_ = false;
};

} // namespace Ambrel

#endif
