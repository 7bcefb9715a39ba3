// A module as another version of the tool would have it.
#include "io/Module.h"

namespace {

int anything = 0;

}  // namespace

QLXCC_DEFINE_MODULE(anything)
