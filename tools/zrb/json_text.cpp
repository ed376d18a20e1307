#include "json_text.h"

#include <cmath>

namespace zrbtool {

nlohmann::ordered_json numberJson(double value) {
  if (!std::isfinite(value)) return nullptr;
  return value;
}

std::string jsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace zrbtool
