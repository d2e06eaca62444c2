// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
/// @file
/// XML documents on Expat: a `Config` parses a file or stream into `Element`/`Node` trees whose
/// names are identifiers in a `types::Stringtable`, and prints trees back as compact XML.

#ifndef CORVANE_XML_H
#define CORVANE_XML_H

#include <cstddef>
#include <istream>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include <expat.h>

#include "corvane/export.h"
#include "corvane/stringtable.h"

namespace corvane {
namespace XML {

class NodeArena;  // allocator of parsed trees; private to the library

/// One node of a parsed document: a named node (element or attribute, kind 1) or a text node
/// (kind 0, namespace and name 0). Names are identifiers in the producing `Config`'s table.
class CORVANE_EXPORT Node {
 public:
  enum Kind : int { kText = 0, kNamed = 1 };

  Node(int kind, int ns, int name, int line, std::string value)
      : mKind(kind), mNamespace(ns), mName(name), mLine(line), mValue(std::move(value)) {}
  virtual ~Node() = default;

  Node(Node const&) = delete;
  Node& operator=(Node const&) = delete;

  bool isText() const { return mKind == kText; }

  /// Nodes of parsed trees live in per-document arenas, all others on the heap. Create nodes
  /// with plain `new` and free either kind with plain `delete` (never the global operators), from
  /// any thread. An arena's memory goes back once the last node parsed into it is deleted.
  static void* operator new(std::size_t size);
  static void* operator new(std::size_t size, NodeArena* arena);
  static void* operator new(std::size_t, void* where) noexcept { return where; }
  static void operator delete(void* node, std::size_t size) noexcept;
  static void operator delete(void* node, NodeArena* arena) noexcept;
  static void operator delete(void*, void*) noexcept {}

  /// Fields in this order.
  int mKind;
  int mNamespace;  ///< 0 when the name has no namespace
  int mName;       ///< 0 for text
  int mLine;       ///< start line of an element; 0 for text and attributes, -1 for clones
  std::string mValue;  ///< attribute value or character data; empty for elements
};

/// An element: owns its attributes (named nodes, parser order) and its children (elements and
/// text nodes, document order) and deletes them when destroyed.
class CORVANE_EXPORT Element : public Node {
 public:
  Element(int ns, int name, int line) : Node(kNamed, ns, name, line, std::string()) {}
  ~Element() override;

  /// A deep copy with line -1. Its identifiers refer to the same string table, which must
  /// outlive it. Caller owns; free with delete.
  Element* clone() const;

  /// The first attribute with this namespace and name, or null. Owned by the element.
  Node const* attribute(int ns, int name) const;
  /// All text children joined in order, untrimmed.
  std::string text() const;

  std::vector<Node*> mAttributes;  ///< owned
  std::vector<Node*> mChildren;    ///< owned; Element (kind 1) or text Node (kind 0)
};

/// A reusable parser and printer. Each `Parse` discards the previous tree; after a failure
/// the root is null and `GetParseError` describes it. Not thread-safe.
class CORVANE_EXPORT Config {
 public:
  /// Uses a new table of its own, seeded with the null-terminated list `keywords` (may be
  /// null): the n-th distinct keyword gets identifier n.
  explicit Config(char const* const* keywords = nullptr);
  /// Uses `table` (a fresh owned table when null). When `borrowed` the caller keeps ownership
  /// and the table must outlive this `Config` and every tree printed with it; otherwise the
  /// `Config` takes ownership and deletes it.
  Config(types::Stringtable* table, bool borrowed);
  /// Deletes the root, and the table when owned.
  virtual ~Config();

  Config(Config const&) = delete;
  Config& operator=(Config const&) = delete;

  /// Parses a whole document from `in`. False on a malformed document or a stream going bad;
  /// the partial tree is then deleted.
  virtual bool Parse(std::istream& in);
  /// Parses the file at `path`. With `lineFilter`, lines starting with "#" and a blank are
  /// line directives (as a C preprocessor leaves them) and are not parsed. False when the file
  /// cannot be opened (the error code and the previous tree survive).
  virtual bool Parse(char const* path, bool lineFilter);

  /// Expat's text for the error code of the last failed parse.
  char const* GetParseError() const;
  /// The Expat error code of the last failed parse; 0 after a successful one.
  int GetParseErrorCode() const { return mError; }

  /// Writes `e` and its subtree as compact XML. Namespaced names print as "ns<N>:local" and
  /// their end tags carry no slash (deliberate, relied upon); text and values are not escaped.
  /// An identifier missing from the table sets the stream's failbit. Returns `os`.
  std::ostream& Print(std::ostream& os, Element const* e) const;

  /// Splits an Expat name ("uri<TAB>local" or "local") into interned identifiers; `ns` is 0
  /// without a namespace. `text` is left unchanged.
  void ParseName(char const* text, int& ns, int& name);

  /// The document element; null before a successful parse and after a failed one. Owned by
  /// the `Config`.
  Element* root() const { return mRoot; }
  /// Hands the document element to the caller and forgets it. Caller owns; free with delete.
  Element* releaseRoot();

  /// The table in use; owned by the `Config` unless it was borrowed.
  types::Stringtable* table() const { return mTable; }
  /// The text of identifier `id`, or null.
  char const* text(int id) const { return mTable->Text(id); }
  /// The identifier of `text` without adding it; 0 when unknown.
  int id(char const* text) const { return mTable->Find(text); }
  /// The line number taken from the last line directive minus one (0 when none).
  int lineOverride() const { return mLineOverride; }

 private:
  void setup();
  void finishParse(bool ok);
  void StartElement(char const* name, char const** attributes);
  void EndElement();
  void StartNamespace(char const* uri);
  void CharData(char const* data, int length);
  int prefixOf(int ns) const;

  static void XMLCALL startElementHook(void* self, XML_Char const* name, XML_Char const** atts);
  static void XMLCALL endElementHook(void* self, XML_Char const* name);
  static void XMLCALL startNamespaceHook(void* self, XML_Char const* prefix,
                                         XML_Char const* uri);
  static void XMLCALL charDataHook(void* self, XML_Char const* data, int length);

  /// Fields in this order.
  std::vector<Node*> mStack;  ///< open elements and maybe a text node on top; not owning
  int mError;
  mutable std::map<int, int> mPrefixes;  ///< namespace id -> prefix number; Print may add 0
  int mPrefixCounter;
  int mLineOverride;
  types::Stringtable* mTable;
  bool mBorrowed;
  Element* mRoot;  ///< owned
  XML_Parser mParser;
  /// Building state, kept between parses to save allocations.
  NodeArena* mArena;            ///< held; the nodes of the current tree
  std::vector<Node*> mPending;  ///< children of the open elements, not yet handed over
  std::vector<size_t> mOpened;  ///< where each open element's children start in mPending
  struct NameCache;
  std::unique_ptr<NameCache> mNames;  ///< recent Expat names and their identifiers
};

}  // namespace XML
}  // namespace corvane

#endif  // CORVANE_XML_H
