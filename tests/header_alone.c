/* The public header compiles on its own, and twice. */
#include "kestrune/kestrune.h"
#include "kestrune/kestrune.h"  // NOLINT(readability-duplicate-include)

static_assert(sizeof(tagCONFIGENTRY) == 48, "the records are known");
