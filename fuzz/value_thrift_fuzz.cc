// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Fuzz target: value trees read from a flat list built from the input (type, name, value per
// entry), their renderings, and the round trip: the list a tree renders reads back into a tree
// that renders the same list.

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "corvane/config_value.h"
#include "corvane/idl/j2t_types.h"
#include "corvane/msg_cat.h"
#include "corvane/validator.h"

using namespace corvane;
using config::Value;

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
  static config::validator::String text("text");
  static config::validator::Struct root("root");
  static multiCat catalog("corvane", "en_US");
  static bool once = (root.addMember("a", &text).addMember("b", &text), true);
  (void)once;

  FuzzedDataProvider input(data, size);
  config::ValueList list;
  while (input.remaining_bytes() > 0 && list.size() < 4096) {
    j2t::j2tValue entry;
    // Mostly the small type codes the reader knows, sometimes anything.
    entry.mType = input.ConsumeBool() ? input.ConsumeIntegralInRange<int32_t>(-1, 12)
                                      : input.ConsumeIntegral<int32_t>();
    entry.mName = input.ConsumeRandomLengthString(32);
    entry.mValue = input.ConsumeRandomLengthString(64);
    list.push_back(entry);
  }

  std::unique_ptr<Value> value(Value::parseThrift(list));
  auto it = list.cbegin();
  std::unique_ptr<Value> part(list.empty() ? nullptr : Value::parseThrift(it, list.cend()));
  if (value == nullptr) return 0;
  (void)value->asXML();
  (void)value->asJSON(&root);
  (void)value->asText(&root, catalog);

  config::ValueList rendered;
  value->asThrift(rendered, "top");
  std::unique_ptr<Value> back(Value::parseThrift(rendered));
  if (back == nullptr) std::abort();
  config::ValueList again;
  back->asThrift(again, "top");
  if (again != rendered) std::abort();
  return 0;
}
