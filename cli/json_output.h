// JSON on standard output.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "text_output.h"

namespace cli {

// Writes an object without spaces and line breaks. Bytes that are no UTF-8 become U+FFFD: the text is
// valid JSON whatever the input holds.
void writeJson(const nlohmann::ordered_json& object, Output& output);

}  // namespace cli
