#pragma once

// A step of a scenario's timeline and what it does. Each kind of step is one row of a table
// (`StepKind`): the key that names it, the other fields it takes, and how its value is read.
// What a step does is kept with how it is read, so that a new step is one entry in one place.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "harness/ScenarioFields.h"

namespace tarvolo::scenario {

class StepContext;  // StepContext.h
struct Scenario;

// What one step does.
class StepAction {
 public:
  virtual ~StepAction() = default;
  // One line for logs and renderings ("click separator (left, ⌥)").
  virtual std::string describe() const = 0;
  // Why the step could not happen, or nothing.
  virtual std::optional<std::string> perform(StepContext& context) const = 0;
  // Whether the step ends the run: it quits Tarvolo.
  virtual bool endsTheRun() const = 0;
};

using Action = std::shared_ptr<const StepAction>;

// A step's values as a plain struct `Data` with `describe()` and `perform(StepContext&)`, and
// optionally `endsTheRun()`.
template <typename Data>
class StepOf final : public StepAction {
 public:
  explicit StepOf(Data data) : data_(std::move(data)) {}
  std::string describe() const override { return data_.describe(); }
  std::optional<std::string> perform(StepContext& context) const override { return data_.perform(context); }
  bool endsTheRun() const override {
    if constexpr (requires { data_.endsTheRun(); }) {
      return data_.endsTheRun();
    } else {
      return false;
    }
  }
  const Data& data() const { return data_; }

 private:
  Data data_;
};

template <typename Data>
Action makeAction(Data data) {
  return std::make_shared<const StepOf<Data>>(std::move(data));
}

// The step's values when it is of kind `Data`; null otherwise.
template <typename Data>
const Data* actionData(const Action& action) {
  const auto* step = dynamic_cast<const StepOf<Data>*>(action.get());
  return step ? &step->data() : nullptr;
}

struct Step {
  double at = 0;
  Action action;
  std::string note;
};

// What a step kind reads its values from.
struct StepInput {
  const Field& step;   // the whole step object
  const Field& value;  // the value of its key
  std::string_view key;
  const Scenario& scenario;
};

struct StepKind {
  std::string_view key;
  // The fields it takes besides "at", "note" and its key.
  std::vector<std::string_view> parameters;
  // Reads the step's values; throws ScenarioError naming the field at fault.
  Action (*parse)(const StepInput& input);
};

}  // namespace tarvolo::scenario
