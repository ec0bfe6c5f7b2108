#ifndef AMBRELKIT_PLATFORM_EXPORT_HPP
#define AMBRELKIT_PLATFORM_EXPORT_HPP

/// The shared libraries show what bears it, and nothing else: what an installed header declares and
/// a library defines, and the classes that a host implements or catches.
#define AMBRELKIT_API __attribute__((visibility("default")))

/// The same for what the libraries and the tool of this project use of one another beside that.
#define AMBRELKIT_SEAM AMBRELKIT_API

#endif
