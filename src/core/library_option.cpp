#include "core/library_option.h"

namespace rs {

uint32_t ipv6Enabled = 1;

}  // namespace rs
