#ifndef AMBREL_DURATION_HPP
#define AMBREL_DURATION_HPP

#include <optional>
#include <string_view>

namespace Ambrel {

/// Seconds of a text such as `90`, `90s`, `15m`, `1.5h`, `7d` or `2w`: more than 0. Nothing for any
/// other text.
std::optional<double> duration(std::string_view text);

} // namespace Ambrel

#endif
