#include "editor/records/background_spec.hpp"

namespace vantorel {
namespace {

constexpr std::string_view payloadKey = "_0";

bool readPayload(json::Cursor object, std::string& payload, json::Problem& problem) {
  json::RecordReader reader(object, problem);
  reader.required(payloadKey, payload);
  return reader.succeeded();
}

void writePayload(json::Writer& writer, std::string_view name, const std::string* payload) {
  writer.beginObject();
  writer.key(name);
  writer.beginObject();
  if (payload != nullptr) {
    writer.member(payloadKey, *payload);
  }
  writer.endObject();
  writer.endObject();
}

}  // namespace

bool read(json::Cursor cursor, BackgroundFill& fill, json::Problem& problem) {
  std::string_view name;
  json::Cursor payload;
  std::string_view second;
  json::Cursor ignored;
  auto members = cursor.members();
  if (!members.next(name, payload) || members.next(second, ignored) ||
      payload.kind() != json::Kind::object) {
    problem.description = "must be an object with one of the keys none, solid, gradient";
    return false;
  }
  if (name == "none") {
    fill.value = BackgroundFill::None{};
    return true;
  }
  if (name == "solid") {
    return readPayload(payload, fill.value.emplace<BackgroundFill::Solid>().color, problem);
  }
  if (name == "gradient") {
    return readPayload(payload, fill.value.emplace<BackgroundFill::Gradient>().id, problem);
  }
  problem.description = "unknown background fill " + std::string(name);
  return false;
}

void write(json::Writer& writer, const BackgroundFill& fill) {
  if (const auto* solid = std::get_if<BackgroundFill::Solid>(&fill.value)) {
    writePayload(writer, "solid", &solid->color);
  } else if (const auto* gradient = std::get_if<BackgroundFill::Gradient>(&fill.value)) {
    writePayload(writer, "gradient", &gradient->id);
  } else {
    writePayload(writer, "none", nullptr);
  }
}

template <class V, class S>
void BackgroundSpec::describe(V& v, S& background) {
  v.required("fill", background.fill);
  v.field("paddingPercent", background.paddingPercent);
  v.field("cornerRadius", background.cornerRadius);
  v.field("shadow", background.shadow);
  v.field("shadowStrength", background.shadowStrength);
  v.rest(background.extra);
}
VT_JSON_RECORD(BackgroundSpec)

}  // namespace vantorel
