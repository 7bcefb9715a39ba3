// A module as another version of the tool would have it.
#include "Module.h"

namespace {

int anything = 0;

}  // namespace

QLXCC_DEFINE_MODULE(anything)
