#ifndef AMBREL_STANDARDSTREAMS_HPP
#define AMBREL_STANDARDSTREAMS_HPP

namespace Ambrel {

/// Occupies the numbers of standard streams that the program was started without, so that no file
/// that it opens gets one of them and what is meant for the stream. To read or write such a stream
/// fails as before. To be called before anything is opened.
void occupyStandardStreams();

} // namespace Ambrel

#endif
