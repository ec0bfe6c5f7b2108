#ifndef AMBREL_EMBEDDEDPAGE_HPP
#define AMBREL_EMBEDDEDPAGE_HPP

#include <string_view>

namespace Ambrel {

// The page of the folder `page` in three pieces, as EmbedPage.cmake puts it into the program.
extern const std::string_view pageStart;  ///< a line of text without markup goes behind it,
extern const std::string_view pageMiddle; ///< and behind this JSON in which no "<" stands
extern const std::string_view pageEnd;

} // namespace Ambrel

#endif
