/// sensors.cpp: reads and writes the description of the sensors, and converts readings by it.
#include "standin/host/sensors.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>

#include "standin/failure.h"
#include "standin/files.h"

namespace standin {
namespace {

using nlohmann::json;

/// Walks a text and counts the lines passed, so that the parser's events can be placed in it.
class LineCounter {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  LineCounter(const char* position, size_t* line) : position_(position), line_(line) {}
  reference operator*() const { return *position_; }
  LineCounter& operator++() {
    if (*position_++ == '\n') ++*line_;
    return *this;
  }
  bool operator==(const LineCounter& other) const { return position_ == other.position_; }

 private:
  const char* position_;
  size_t* line_;
};

/// One object of the description, with the place that its faults are reported at.
struct Place {
  const json& object;
  std::string file;
  std::string pointer;

  [[noreturn]] void Refuse(const std::string& member, const std::string& why) const {
    throw Failure(WRONG_ARGUMENTS, file + ": " + (pointer + member).append(" is ") + why);
  }

  /// The member, or null when it may be left out and is.
  const json* Find(const std::string& name, bool required) const {
    const auto found = object.find(name);
    if (found != object.end()) return &*found;
    if (required) Refuse("/" + name, "missing");
    return nullptr;
  }

  int64_t Number(const std::string& name, int64_t lowest, int64_t highest, std::optional<int64_t> otherwise) const {
    const json* value = Find(name, !otherwise);
    if (value == nullptr) return *otherwise;
    // As a real number it cannot wrap round, and within these bounds nothing is lost.
    const double number = value->is_number_integer() ? value->get<double>() : std::nan("");
    if (number >= static_cast<double>(lowest) && number <= static_cast<double>(highest)) return value->get<int64_t>();
    Refuse("/" + name, "no whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
  }

  std::string Text(const std::string& name, bool required) const {
    const json* value = Find(name, required);
    if (value != nullptr && !value->is_string()) Refuse("/" + name, "no text");
    return value == nullptr ? "" : value->get<std::string>();
  }

  bool Flag(const std::string& name) const {
    const json* value = Find(name, false);
    if (value != nullptr && !value->is_boolean()) Refuse("/" + name, "neither true nor false");
    return value != nullptr && value->get<bool>();
  }

  Linearisation Function(const std::string& name) const {
    const std::string text = Text(name, false);
    if (text.empty()) return Linearisation::LINEAR;
    const auto* found = std::find(LINEARISATIONS.begin(), LINEARISATIONS.end(), text);
    if (found != LINEARISATIONS.end()) return static_cast<Linearisation>(found - LINEARISATIONS.begin());
    std::string allowed;
    for (const std::string_view each : LINEARISATIONS) allowed.append(allowed.empty() ? " " : ", ").append(each);
    Refuse("/" + name, "none of" + allowed);
  }
};

Sensor ReadSensor(const Place& place) {
  constexpr std::array MEMBERS{"number", "hostId", "name",           "unit",         "M", "B", "bExp",
                               "rExp",   "signed", "onesComplement", "linearisation"};
  if (!place.object.is_object()) place.Refuse("", "no object");
  for (const auto& member : place.object.items()) {
    if (std::find(MEMBERS.begin(), MEMBERS.end(), member.key()) == MEMBERS.end()) {
      place.Refuse("/" + member.key(),
                   "unknown; allowed are number hostId name unit M B bExp rExp signed onesComplement linearisation");
    }
  }
  Sensor sensor;
  sensor.number = static_cast<uint8_t>(place.Number("number", 0, 255, {}));
  sensor.hostId = static_cast<uint32_t>(place.Number("hostId", 0, UINT32_MAX, {}));
  sensor.name = place.Text("name", true);
  sensor.unit = place.Text("unit", false);
  sensor.m = static_cast<int>(place.Number("M", -512, 511, sensor.m));
  sensor.b = static_cast<int>(place.Number("B", -512, 511, sensor.b));
  sensor.bExp = static_cast<int>(place.Number("bExp", -8, 7, sensor.bExp));
  sensor.rExp = static_cast<int>(place.Number("rExp", -8, 7, sensor.rExp));
  sensor.isSigned = place.Flag("signed");
  sensor.onesComplement = place.Flag("onesComplement");
  sensor.linearisation = place.Function("linearisation");
  return sensor;
}

}  // namespace

Sensors ReadSensors(const std::string& path) {
  const std::string text = ReadFile(path);
  const std::string quoted = "'" + path + "'";
  size_t line = 1;
  std::vector<size_t> lines;  // where each element of "sensors" starts; 0 for what is no object
  const auto notePlace = [&](int depth, json::parse_event_t event, json&) {
    if (depth == 2) {
      if (event == json::parse_event_t::object_start) lines.push_back(line);
      if (event == json::parse_event_t::array_start || event == json::parse_event_t::value) lines.push_back(0);
    }
    return true;
  };
  json description;
  try {
    description = json::parse(LineCounter(text.data(), &line), LineCounter(text.data() + text.size(), &line),
                              json::parser_callback_t(notePlace));
  } catch (const json::exception& error) {
    // The text of a syntax error names line and column, others name no place. The tag in brackets is of no use here.
    const bool placed = dynamic_cast<const json::parse_error*>(&error) != nullptr;
    const std::string what = error.what();
    throw Failure(WRONG_ARGUMENTS,
                  quoted + (placed ? "" : " line " + std::to_string(line)) + ": " + what.substr(what.find("] ") + 2));
  }

  if (!description.is_object() || description.size() != 1 || !description.contains("sensors") ||
      !description["sensors"].is_array()) {
    throw Failure(WRONG_ARGUMENTS, quoted + ": the description is no object with the one member \"sensors\", an array");
  }
  Sensors sensors;
  for (const json& element : description["sensors"]) {
    const size_t index = sensors.size();
    const std::string at = lines.at(index) == 0 ? "" : " line " + std::to_string(lines[index]);
    sensors.push_back(ReadSensor({element, quoted + at, "/sensors/" + std::to_string(index)}));
  }
  return sensors;
}

std::string DescribeSensors(const Sensors& sensors) {
  const Sensor standard;
  std::string text = "{\n  \"sensors\": [";
  for (const Sensor& sensor : sensors) {
    nlohmann::ordered_json object{{"number", sensor.number}, {"hostId", sensor.hostId}, {"name", sensor.name}};
    const auto add = [&object](const char* name, const auto& value, const auto& otherwise) {
      if (value != otherwise) object[name] = value;
    };
    add("unit", sensor.unit, std::string());
    add("M", sensor.m, standard.m);
    add("B", sensor.b, standard.b);
    add("bExp", sensor.bExp, standard.bExp);
    add("rExp", sensor.rExp, standard.rExp);
    add("signed", sensor.isSigned, standard.isSigned);
    add("onesComplement", sensor.onesComplement, standard.onesComplement);
    if (sensor.linearisation != standard.linearisation) {
      object["linearisation"] = LINEARISATIONS.at(static_cast<size_t>(sensor.linearisation));
    }
    text += (&sensor == &sensors.front() ? "\n    " : ",\n    ") + object.dump();
  }
  return text + "\n  ]\n}\n";
}

const Sensor* FindSensor(const Sensors& sensors, uint32_t hostId) {
  const auto found =
      std::find_if(sensors.begin(), sensors.end(), [hostId](const Sensor& sensor) { return sensor.hostId == hostId; });
  return found == sensors.end() ? nullptr : &*found;
}

int64_t ConvertReading(const Sensor& sensor, uint8_t raw) {
  int reading = sensor.isSigned ? static_cast<int8_t>(raw) : raw;
  if (reading < 0 && sensor.onesComplement) ++reading;
  const double offset = sensor.b * std::pow(10.0, sensor.bExp);
  const double linear = (sensor.m * reading + offset) * std::pow(10.0, sensor.rExp);
  const double value = Linearise(sensor.linearisation, linear) * (sensor.unit == "V" ? 1000 : 1);
  if (!std::isfinite(value)) return 0;
  constexpr double HIGHEST = 9e18;
  return std::llround(std::clamp(value, -HIGHEST, HIGHEST));
}

}  // namespace standin
