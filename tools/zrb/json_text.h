// JSON as this tool writes it.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace zrbtool {

// null for NaN and the infinities, which JSON does not have.
nlohmann::ordered_json numberJson(double value);

// Indented, with a line end.  Texts are UTF-8; of a file name that is none, the bytes that fit nowhere become U+FFFD.
std::string jsonText(const nlohmann::ordered_json& json);

}  // namespace zrbtool
