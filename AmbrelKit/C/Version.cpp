#include <ambrelkit.h>

#include <string_view>

#define AMBREL_TEXT_OF(number) #number
#define AMBREL_TEXT(number) AMBREL_TEXT_OF(number)

static_assert(std::string_view(AMBREL_VERSION) ==
              AMBREL_TEXT(AMBREL_VERSION_MAJOR) "." AMBREL_TEXT(
                  AMBREL_VERSION_MINOR) "." AMBREL_TEXT(AMBREL_VERSION_PATCH));
static_assert(std::string_view(AMBREL_VERSION) == AMBREL_PROJECT_VERSION,
              "ambrelkit.h and CMakeLists.txt name different versions");

extern "C" {

const char* ambrel_version(void) { return AMBREL_VERSION; }

int ambrel_version_number(void) { return AMBREL_VERSION_NUMBER; }
}
