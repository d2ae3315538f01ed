#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "platform/Platform.h"

namespace tarvolo::sim {

nlohmann::json toJson(const DefaultsValue& value);
// Absent for JSON null, which the store has no type for. An integer beyond int64 reads as the
// nearest double rather than wrapping round.
std::optional<DefaultsValue> fromJson(const nlohmann::json& json);

// The app's defaults domain. With a backing file every change is written through atomically
// (write a sibling temp file, flush, rename), so a crash leaves the old or the new file. A key the
// app has not set or removed since the file was read is written back as the file held it, nulls
// and unsigned 64-bit integers included, as the real store keeps what it does not understand.
class SimDefaultsStore final : public platform::DefaultsStore {
 public:
  using Reporter = std::function<void(const std::string&)>;

  SimDefaultsStore() = default;
  // Loads `file` if it exists. A file that cannot be read or parsed is moved aside under a new
  // name (reported once through `report`) and the store starts empty.
  static SimDefaultsStore backedBy(std::filesystem::path file, const Reporter& report);

  std::optional<DefaultsValue> object(const std::string& key) const override;
  void set(const std::string& key, DefaultsValue value) override;
  void remove(const std::string& key) override;
  std::vector<std::string> keys() const override;

  nlohmann::json toJson() const;
  const std::optional<std::filesystem::path>& file() const { return file_; }
  // Where a corrupt file was moved, if one was.
  const std::optional<std::filesystem::path>& quarantined() const { return quarantined_; }
  std::size_t writeCount() const { return writes_; }

 private:
  void persist();

  std::map<std::string, DefaultsValue> values_;
  // Each key as the file held it, until the app sets or removes it.
  std::map<std::string, nlohmann::json> asLoaded_;
  std::optional<std::filesystem::path> file_;
  std::optional<std::filesystem::path> quarantined_;
  std::size_t writes_ = 0;
};

}  // namespace tarvolo::sim
