// A value's events in order, without recursion: RapidJSON's own Accept and CopyFrom take stack for each level of
// nesting, and documents come from files.
#pragma once

#include <rapidjson/document.h>

#include <vector>

namespace MORVA {

// Tells `handler` (of RapidJSON's Handler concept) about `root`. Texts are announced as not outliving the call, so that
// a document that is built from the events owns all of them.
template <typename Handler>
void walk(const rapidjson::Value& root, Handler& handler) {
  struct Open {  // an object or array that is being walked, and which member or element comes next
    const rapidjson::Value* value;
    rapidjson::SizeType next = 0;
  };
  std::vector<Open> open;
  const auto begin = [&](const rapidjson::Value& value) {
    if (value.IsObject()) {
      handler.StartObject();
      open.push_back({&value});
    } else if (value.IsArray()) {
      handler.StartArray();
      open.push_back({&value});
    } else if (value.IsString()) {
      handler.String(value.GetString(), value.GetStringLength(), true);
    } else {
      value.Accept(handler);
    }
  };

  begin(root);
  while (!open.empty()) {
    const rapidjson::Value& value = *open.back().value;
    const rapidjson::SizeType next = open.back().next++;
    if (value.IsObject() && next < value.MemberCount()) {
      const auto& member = value.MemberBegin()[static_cast<std::ptrdiff_t>(next)];
      handler.Key(member.name.GetString(), member.name.GetStringLength(), true);
      begin(member.value);
    } else if (value.IsArray() && next < value.Size()) {
      begin(value[next]);
    } else {
      open.pop_back();
      if (value.IsObject()) {
        handler.EndObject(next);
      } else {
        handler.EndArray(next);
      }
    }
  }
}

// A copy of `source` that lives in `allocator`'s memory, all its texts included.
inline rapidjson::Value deepCopy(const rapidjson::Value& source, rapidjson::Document::AllocatorType& allocator) {
  rapidjson::Document builder(&allocator);
  const auto events = [&source](rapidjson::Document& handler) {
    walk(source, handler);
    return true;
  };
  builder.Populate(events);
  return std::move(static_cast<rapidjson::Value&>(builder));
}

}  // namespace MORVA
