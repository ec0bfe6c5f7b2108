#include "AmbrelKit/Internal/Extensions/Text.hpp"
#include <gtest/gtest.h>
