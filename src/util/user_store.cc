// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// The user accounts file: reading accounts and the template, writing accounts back.

#include "corvane/user_store.h"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "corvane/xml.h"

namespace corvane {

char const* const user::sElements[] = {"users",
                                       "user",
                                       "name",
                                       "nodelete",
                                       "uid",
                                       "password",
                                       "passwordencrypted",
                                       "passwordexpired",
                                       "defaultpassword",
                                       "home",
                                       "shell",
                                       "description",
                                       "template",
                                       nullptr};

namespace {

constexpr int kElementCount = user::kTemplate;

// Parses run over a copy so that names first seen in a file never enter the store's table;
// copying in identifier order keeps every identifier.
std::unique_ptr<types::Stringtable> copyTable(types::Stringtable const& table) {
  std::unique_ptr<types::Stringtable> copy(new types::Stringtable());
  for (int id = 1; id <= table.Count(); ++id) {
    char const* text = table.Text(id);
    if (text != nullptr) copy->Add(text);
  }
  return copy;
}

// The document of `path` when it parses and its root is "users" without namespace.
std::unique_ptr<XML::Config> readDocument(types::Stringtable const& table, char const* path) {
  std::ifstream in(path);
  if (!in.is_open()) return nullptr;
  std::unique_ptr<XML::Config> doc(new XML::Config(copyTable(table).release(), false));
  if (!doc->Parse(in)) return nullptr;
  XML::Element const* root = doc->root();
  if (root == nullptr || root->mNamespace != 0 || root->mName != user::kUsers) return nullptr;
  return doc;
}

// `node` as an element without namespace, or null.
XML::Element const* plainElement(XML::Node const* node) {
  if (node->isText() || node->mNamespace != 0) return nullptr;
  return dynamic_cast<XML::Element const*>(node);
}

}  // namespace

void user::set(int element, std::string const& text) {
  if (element < 1 || element > kElementCount) return;
  mValues[sElements[element - 1]] = text;
}

std::string user::get(std::string const& name) const {
  auto found = mValues.find(name);
  return found == mValues.end() ? std::string() : found->second;
}

user::Store::Store() : mTable(user::sElements), mHighestUid(0) {}

user::Store::~Store() = default;

bool user::Store::read_users(char const* path) {
  std::unique_ptr<XML::Config> doc = readDocument(mTable, path);
  if (!doc) return false;
  for (XML::Node const* node : doc->root()->mChildren) {
    XML::Element const* account = plainElement(node);
    if (account == nullptr || account->mName != kUser) continue;
    std::unique_ptr<user> record(new user());
    bool named = false;
    for (XML::Node const* field : account->mChildren) {
      XML::Element const* element = plainElement(field);
      if (element == nullptr) continue;
      switch (element->mName) {
        case kName:
          named = true;
          record->set(kName, element->text());
          break;
        case kUid: {
          std::string text = element->text();
          int uid = 0;
          std::istringstream(text) >> uid;
          mHighestUid = std::max(mHighestUid, uid);
          record->set(kUid, text);
          break;
        }
        case kNodelete:
        case kPassword:
        case kPasswordencrypted:
        case kPasswordexpired:
        case kDefaultpassword:
        case kHome:
        case kShell:
        case kDescription:
          record->set(element->mName, element->text());
          break;
        default:
          break;
      }
    }
    // Keyed by the last "name" of the account; an account with the same name is replaced.
    if (named) {
      std::string name = record->get(sElements[kName - 1]);
      mAccounts[name] = std::move(record);
    }
  }
  return true;
}

bool user::Store::read_template(char const* path) {
  std::unique_ptr<XML::Config> doc = readDocument(mTable, path);
  if (!doc) return false;
  for (XML::Node const* node : doc->root()->mChildren) {
    if (mTemplate) break;  // only the first template ever read counts
    XML::Element const* element = plainElement(node);
    if (element == nullptr || element->mName != kTemplate) continue;
    std::unique_ptr<user> record(new user());
    record->set(kHome, "/");
    record->set(kShell, "/bin/cli");
    record->set(kDescription, "Administrator");
    for (XML::Node const* field : element->mChildren) {
      XML::Element const* setting = plainElement(field);
      if (setting == nullptr) continue;
      if (setting->mName == kHome || setting->mName == kShell || setting->mName == kDescription) {
        record->set(setting->mName, setting->text());
      }
    }
    mTemplate = std::move(record);
  }
  return true;
}

bool user::Store::write(char const* path) const {
  std::ofstream out(path, std::ios::out | std::ios::trunc);
  if (!out.is_open()) return false;
  XML::Config doc(copyTable(mTable).release(), false);
  // Built as the parser would build it: elements with no attributes, each entry holding its
  // text as the only child.
  XML::Element root(0, kUsers, 0);
  for (auto const& account : mAccounts) {
    std::unique_ptr<XML::Element> element(new XML::Element(0, kUser, 0));
    for (auto const& entry : account.second->mValues) {
      std::unique_ptr<XML::Element> field(new XML::Element(0, doc.id(entry.first.c_str()), 0));
      if (!entry.second.empty()) {
        field->mChildren.push_back(new XML::Node(XML::Node::kText, 0, 0, 0, entry.second));
      }
      element->mChildren.push_back(field.release());
    }
    root.mChildren.push_back(element.release());
  }
  doc.Print(out, &root);
  out.close();
  return !out.fail();
}

user const* user::Store::find(std::string const& name) const {
  auto found = mAccounts.find(name);
  return found == mAccounts.end() ? nullptr : found->second.get();
}

}  // namespace corvane
