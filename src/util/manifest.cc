// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Readers of the problem-data collection manifests: the file list (files and globs with
// their flags) and the command list.

#include <glob.h>

#include <cctype>
#include <memory>

#include "corvane/log.h"
#include "corvane/utils.h"
#include "corvane/xml.h"

namespace corvane {
namespace utils {

namespace {

// Identifiers fixed by the order of the keyword lists.
enum : int {
  kFilelist = 1,
  kFile,
  kGlob,
  kObfuscate,
  kShowable,
  kFailsafe,
  kDeleteAfterCollect,
  kHelp,
};
char const* const kFileListKeywords[] = {
    "filelist",           "file", "glob",  "obfuscate", "showable", "failsafe",
    "deleteaftercollect", "help", nullptr,
};

enum : int { kCmdlist = 1, kCli, kCmd, kCmdFailsafe };
char const* const kCmdListKeywords[] = {"cmdlist", "cli", "cmd", "failsafe", nullptr};

char const kPrimary[] = "/primary";

// The child elements without namespace named `a` or `b`, in document order.
template <class Visit>
void forEachEntry(XML::Element const* root, int a, int b, Visit&& visit) {
  for (XML::Node const* child : root->mChildren) {
    if (child->isText()) continue;
    auto const* element = static_cast<XML::Element const*>(child);
    if (element->mNamespace == 0 && (element->mName == a || element->mName == b)) {
      visit(element);
    }
  }
}

bool attributeIs(XML::Element const* element, int name, char const* value) {
  XML::Node const* a = element->attribute(0, name);
  return a != nullptr && a->mValue == value;
}

std::string trimmed(std::string const& text) {
  auto space = [](char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; };
  size_t begin = 0, end = text.size();
  while (begin < end && space(text[begin])) ++begin;
  while (end > begin && space(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

}  // namespace

std::vector<types::fileEnt>* readFileEnts(char const* path, bool failsafe) {
  if (path == nullptr) return nullptr;
  XML::Config doc(kFileListKeywords);
  if (!doc.Parse(path, false)) return nullptr;
  XML::Element const* root = doc.root();
  if (root == nullptr || root->mNamespace != 0 || root->mName != kFilelist) return nullptr;

  std::unique_ptr<std::vector<types::fileEnt>> list(new std::vector<types::fileEnt>);
  forEachEntry(root, kFile, kGlob, [&](XML::Element const* element) {
    types::fileEnt entry;
    entry.name = failsafe ? kPrimary + element->text() : element->text();
    if (element->mAttributes.empty()) {
      entry.flags = types::fileEnt::kFailsafe;
    } else {
      if (XML::Node const* help = element->attribute(0, kHelp)) entry.help = help->mValue;
      if (attributeIs(element, kObfuscate, "true")) entry.flags |= types::fileEnt::kObfuscate;
      if (attributeIs(element, kShowable, "true")) entry.flags |= types::fileEnt::kShowable;
      if (attributeIs(element, kDeleteAfterCollect, "true")) {
        entry.flags |= types::fileEnt::kDeleteAfterCollect;
      }
      // Absent means the entry applies in fail-safe mode too.
      if (!attributeIs(element, kFailsafe, "false")) entry.flags |= types::fileEnt::kFailsafe;
    }
    if (element->mName == kFile) {
      list->push_back(std::move(entry));
      return;
    }
    glob_t matches;
    if (glob(entry.name.c_str(), GLOB_MARK | GLOB_NOSORT, nullptr, &matches) == 0) {
      for (size_t i = 0; i < matches.gl_pathc; ++i) {
        list->push_back(types::fileEnt{matches.gl_pathv[i], entry.help, entry.flags});
      }
    }
    globfree(&matches);
  });
  return list.release();
}

std::vector<std::string>* readFilelist(char const* path, bool failsafe) {
  std::unique_ptr<std::vector<types::fileEnt>> entries(readFileEnts(path, failsafe));
  if (!entries) return nullptr;
  std::unique_ptr<std::vector<std::string>> names(new std::vector<std::string>);
  names->reserve(entries->size());
  for (types::fileEnt& entry : *entries) names->push_back(std::move(entry.name));
  return names.release();
}

std::vector<std::string>* readCmdlist(char const* path, bool failsafe) {
  if (path == nullptr) return nullptr;
  std::string const file = failsafe ? kPrimary + std::string(path) : std::string(path);
  XML::Config doc(kCmdListKeywords);
  if (!doc.Parse(file.c_str(), false)) {
    log::trace(3, "Cant parse %s file", file.c_str());
    return nullptr;
  }
  XML::Element const* root = doc.root();
  if (root == nullptr || root->mNamespace != 0 || root->mName != kCmdlist) {
    log::trace(3, "Invalid root node in %s file", file.c_str());
    return nullptr;
  }

  std::unique_ptr<std::vector<std::string>> list(new std::vector<std::string>);
  forEachEntry(root, kCli, kCmd, [&](XML::Element const* element) {
    std::string text = trimmed(element->text());
    if (text.empty()) return;
    bool absolute = text[0] == '/';
    if (element->mName == kCli && absolute) {
      log::trace(3, "%s file contains invalid <cli> entry '%s', ignored", file.c_str(),
                 text.c_str());
      return;
    }
    if (failsafe && attributeIs(element, kCmdFailsafe, "false")) {
      log::trace(6, "%s is not applicable to failsafe, ignored", text.c_str());
      return;
    }
    list->push_back(element->mName == kCmd && !absolute ? "/bin/" + text : text);
  });
  return list.release();
}

}  // namespace utils
}  // namespace corvane
