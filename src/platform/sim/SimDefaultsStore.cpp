#include "platform/sim/SimDefaultsStore.h"

#include <cstdio>
#include <fstream>
#include <limits>
#include <sstream>
#include <system_error>

namespace tarvolo::sim {

namespace fs = std::filesystem;

nlohmann::json toJson(const DefaultsValue& value) {
  return std::visit(
      [](const auto& v) -> nlohmann::json {
        using V = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<V, DefaultsValue::Array>) {
          nlohmann::json array = nlohmann::json::array();
          for (const auto& element : v) array.push_back(toJson(element));
          return array;
        } else if constexpr (std::is_same_v<V, DefaultsValue::Dictionary>) {
          nlohmann::json object = nlohmann::json::object();
          for (const auto& [key, element] : v) object[key] = toJson(element);
          return object;
        } else {
          return nlohmann::json(v);
        }
      },
      value.storage());
}

std::optional<DefaultsValue> fromJson(const nlohmann::json& json) {
  switch (json.type()) {
    case nlohmann::json::value_t::boolean: return DefaultsValue(json.get<bool>());
    case nlohmann::json::value_t::number_integer: return DefaultsValue(json.get<std::int64_t>());
    case nlohmann::json::value_t::number_unsigned: {
      const auto number = json.get<std::uint64_t>();
      if (number > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return DefaultsValue(static_cast<double>(number));
      }
      return DefaultsValue(static_cast<std::int64_t>(number));
    }
    case nlohmann::json::value_t::number_float: return DefaultsValue(json.get<double>());
    case nlohmann::json::value_t::string: return DefaultsValue(json.get<std::string>());
    case nlohmann::json::value_t::array: {
      DefaultsValue::Array array;
      for (const auto& element : json) {
        if (auto converted = fromJson(element)) array.push_back(std::move(*converted));
      }
      return DefaultsValue(std::move(array));
    }
    case nlohmann::json::value_t::object: {
      DefaultsValue::Dictionary dict;
      for (const auto& [key, element] : json.items()) {
        if (auto converted = fromJson(element)) dict.emplace(key, std::move(*converted));
      }
      return DefaultsValue(std::move(dict));
    }
    case nlohmann::json::value_t::null:
    case nlohmann::json::value_t::binary:
    case nlohmann::json::value_t::discarded: return std::nullopt;
  }
  return std::nullopt;
}

namespace {

fs::path freeQuarantineName(const fs::path& file) {
  for (int n = 1;; ++n) {
    fs::path candidate = file;
    candidate += ".corrupt-" + std::to_string(n);
    if (!fs::exists(candidate)) return candidate;
  }
}

}  // namespace

SimDefaultsStore SimDefaultsStore::backedBy(fs::path file, const Reporter& report) {
  SimDefaultsStore store;
  store.file_ = file;
  std::error_code ec;
  if (!fs::exists(file, ec)) return store;

  std::string problem;
  std::ifstream in(file, std::ios::binary);
  if (!in) {
    problem = "cannot be read";
  } else {
    std::stringstream buffer;
    buffer << in.rdbuf();
    auto parsed = nlohmann::json::parse(buffer.str(), nullptr, /*allow_exceptions=*/false);
    if (parsed.is_discarded()) {
      problem = "is not valid JSON";
    } else if (!parsed.is_object()) {
      problem = "does not hold an object of keys";
    } else {
      for (const auto& [key, element] : parsed.items()) {
        if (auto value = fromJson(element)) store.values_.emplace(key, std::move(*value));
        store.asLoaded_.emplace(key, element);
      }
      return store;
    }
  }
  in.close();
  fs::path aside = freeQuarantineName(file);
  fs::rename(file, aside, ec);
  if (!ec) store.quarantined_ = aside;
  if (report) {
    report("defaults file " + file.string() + " " + problem + "; kept aside as " +
           (ec ? std::string("(could not move: ") + ec.message() + ")" : aside.string()) + ", starting empty");
  }
  return store;
}

std::optional<DefaultsValue> SimDefaultsStore::object(const std::string& key) const {
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

void SimDefaultsStore::set(const std::string& key, DefaultsValue value) {
  values_[key] = std::move(value);
  asLoaded_.erase(key);
  persist();
}

void SimDefaultsStore::remove(const std::string& key) {
  const bool removed = values_.erase(key) > 0;
  if (asLoaded_.erase(key) > 0 || removed) persist();
}

std::vector<std::string> SimDefaultsStore::keys() const {
  std::vector<std::string> out;
  out.reserve(values_.size());
  for (const auto& [key, value] : values_) out.push_back(key);
  return out;
}

nlohmann::json SimDefaultsStore::toJson() const {
  nlohmann::json object = nlohmann::json::object();
  for (const auto& [key, value] : values_) object[key] = sim::toJson(value);
  for (const auto& [key, loaded] : asLoaded_) object[key] = loaded;
  return object;
}

void SimDefaultsStore::persist() {
  ++writes_;
  if (!file_) return;
  fs::path temp = *file_;
  temp += ".tmp";
  {
    std::ofstream out(temp, std::ios::binary | std::ios::trunc);
    out << toJson().dump(2) << '\n';
    out.flush();
    if (!out) {
      std::fprintf(stderr, "tarvolo-sim: could not write defaults to %s\n", temp.c_str());
      return;
    }
  }
  std::error_code ec;
  fs::rename(temp, *file_, ec);
  if (ec) std::fprintf(stderr, "tarvolo-sim: could not replace %s: %s\n", file_->c_str(), ec.message().c_str());
}

}  // namespace tarvolo::sim
