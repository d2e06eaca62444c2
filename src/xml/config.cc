// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The libcorvane authors
// Expat-driven document reader and compact printer.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

#include "corvane/xml.h"
#include "xml/node_arena.h"

namespace corvane {
namespace XML {

namespace {

constexpr int kChunk = 8192;

// Double quotes unless the value holds one; then apostrophes unless it holds one of those
// too; then double quotes with "&quot;". Nothing else is escaped.
void writeQuoted(std::ostream& os, std::string const& value) {
  bool hasQuote = value.find('"') != std::string::npos;
  if (!hasQuote) {
    os << '"' << value << '"';
  } else if (value.find('\'') == std::string::npos) {
    os << '\'' << value << '\'';
  } else {
    os << '"';
    for (char c : value) {
      if (c == '"') {
        os << "&quot;";
      } else {
        os << c;
      }
    }
    os << '"';
  }
}

// A node in the document's arena, through the arena's inline path; its value is built right
// in the node. A value that cannot be built gives the slot back.
Node* inArena(NodeArena* arena, int kind, int ns, int name, char const* value, size_t length) {
  void* slot = arena->allocate(sizeof(Node));
  try {
    return new (slot) Node(kind, ns, name, 0, std::string(value, length));
  } catch (...) {
    arena->release(slot, sizeof(Node));
    throw;
  }
}

// A line written by a C preprocessor: "#", a blank, the line number of the next line.
bool isLineDirective(char const* line) {
  return line[0] == '#' && (line[1] == ' ' || line[1] == '\t');
}

}  // namespace

// Expat hands over the same few names again and again; a small table by hash spares the
// split and the two interning look-ups for all but the first sight of each.
struct Config::NameCache {
  struct Slot {
    // The first and last eight bytes and the length: for names of up to 16 bytes (nearly
    // all) equality of these is equality of the names, with no call to memcmp.
    uint64_t head = 0;
    uint64_t tail = 0;
    size_t size = 0;
    std::string text;
    int ns = 0;
    int name = 0;
  };
  static constexpr size_t kSlots = 64;
  Slot slots[kSlots];
};

Config::Config(char const* const* keywords)
    : mError(0),
      mPrefixCounter(0),
      mLineOverride(0),
      mTable(new types::Stringtable(keywords)),
      mBorrowed(false),
      mRoot(nullptr),
      mParser(nullptr),
      mArena(nullptr) {}

Config::Config(types::Stringtable* table, bool borrowed)
    : mError(0),
      mPrefixCounter(0),
      mLineOverride(0),
      mTable(table),
      mBorrowed(borrowed && table != nullptr),
      mRoot(nullptr),
      mParser(nullptr),
      mArena(nullptr) {
  if (mTable == nullptr) mTable = new types::Stringtable();
}

Config::~Config() {
  if (mParser != nullptr) XML_ParserFree(mParser);
  for (Node* node : mPending) delete node;
  delete mRoot;
  if (mArena != nullptr) mArena->drop();
  if (!mBorrowed) delete mTable;
}

Element* Config::releaseRoot() {
  Element* root = mRoot;
  mRoot = nullptr;
  return root;
}

void Config::setup() {
  delete mRoot;
  mRoot = nullptr;
  mStack.clear();
  mPending.clear();
  mOpened.clear();
  // The blocks of the previous tree are taken again unless some of its nodes are still alive
  // (a released root, a detached subtree): those keep the old arena to themselves.
  if (mArena != nullptr && !mArena->reset()) {
    mArena->drop();
    mArena = nullptr;
  }
  if (mArena == nullptr) mArena = NodeArena::create();
  mError = 0;
  if (mParser != nullptr) XML_ParserFree(mParser);
  mParser = XML_ParserCreateNS(nullptr, '\t');
  if (mParser == nullptr) {
    mError = XML_ERROR_NO_MEMORY;
    return;
  }
  XML_SetUserData(mParser, this);
  XML_SetElementHandler(mParser, startElementHook, endElementHook);
  XML_SetStartNamespaceDeclHandler(mParser, startNamespaceHook);
  XML_SetCharacterDataHandler(mParser, charDataHook);
}

void Config::finishParse(bool ok) {
  if (mParser != nullptr) XML_ParserFree(mParser);
  mParser = nullptr;
  if (ok) {
    // A document cut short after its last complete line leaves elements open: they keep
    // what was read of them.
    while (!mStack.empty()) EndElement();
  } else {
    for (Node* node : mPending) delete node;
    delete mRoot;
    mRoot = nullptr;
  }
  mStack.clear();
  mPending.clear();
  mOpened.clear();
}

bool Config::Parse(std::istream& in) {
  setup();
  if (mParser == nullptr) return false;
  for (;;) {
    void* buffer = XML_GetBuffer(mParser, kChunk);
    if (buffer == nullptr) {
      mError = XML_GetErrorCode(mParser);
      finishParse(false);
      return false;
    }
    in.read(static_cast<char*>(buffer), kChunk);
    // A stream that fails before its end would otherwise feed empty chunks for ever.
    if (in.bad() || (in.fail() && !in.eof())) {
      finishParse(false);
      return false;
    }
    bool end = in.eof();
    if (XML_ParseBuffer(mParser, static_cast<int>(in.gcount()), end) == XML_STATUS_ERROR) {
      mError = XML_GetErrorCode(mParser);
      finishParse(false);
      return false;
    }
    if (end) {
      finishParse(true);
      return true;
    }
  }
}

bool Config::Parse(char const* path, bool lineFilter) {
  if (!lineFilter) {
    std::ifstream in(path);
    if (!in.is_open()) return false;
    return Parse(in);
  }

  std::unique_ptr<FILE, int (*)(FILE*)> file(fopen(path, "r"), fclose);
  if (!file) return false;
  setup();
  if (mParser == nullptr) return false;
  for (;;) {
    char* buffer = static_cast<char*>(XML_GetBuffer(mParser, kChunk));
    if (buffer == nullptr) {
      mError = XML_GetErrorCode(mParser);
      finishParse(false);
      return false;
    }
    char* line = fgets(buffer, kChunk, file.get());
    if (line != nullptr && isLineDirective(line)) {
      long number = strtol(line + 2, nullptr, 10);
      mLineOverride = number > 0 ? static_cast<int>(number - 1) : 0;
      continue;
    }
    int length = line != nullptr ? static_cast<int>(strlen(line)) : 0;
    if (XML_ParseBuffer(mParser, length, line == nullptr) == XML_STATUS_ERROR) {
      mError = XML_GetErrorCode(mParser);
      finishParse(false);
      return false;
    }
    // A last line without a newline ends the parse here without a final chunk; kept as the
    // reader always behaved.
    if (line == nullptr || feof(file.get())) {
      finishParse(true);
      return true;
    }
  }
}

char const* Config::GetParseError() const {
  XML_LChar const* text = XML_ErrorString(static_cast<XML_Error>(mError));
  return text != nullptr ? text : "";
}

void Config::ParseName(char const* text, int& ns, int& name) {
  // Names differ early or late, seldom only in the middle: length and the first and last
  // eight bytes make the hash. Two slots per hash keep a colliding pair from evicting each
  // other on every element.
  size_t size = strlen(text);
  uint64_t head = 0;
  uint64_t tail = 0;
  // Fixed-size copies are single loads; overlapping ones cover every byte of a short name.
  if (size >= 8) {
    memcpy(&head, text, 8);
    memcpy(&tail, text + size - 8, 8);
  } else if (size >= 4) {
    uint32_t first = 0;
    uint32_t last = 0;
    memcpy(&first, text, 4);
    memcpy(&last, text + size - 4, 4);
    head = uint64_t{first} << 32 | last;
  } else if (size > 0) {
    head = static_cast<unsigned char>(text[0]) << 16 |
           static_cast<unsigned char>(text[size / 2]) << 8 |
           static_cast<unsigned char>(text[size - 1]);
  }
  uint64_t mixed = head * 0x9E3779B97F4A7C15ull ^ (tail + size) * 0xC2B2AE3D27D4EB4Full;
  size_t index = static_cast<size_t>(mixed >> 58) & (NameCache::kSlots - 2);
  if (!mNames) mNames.reset(new NameCache());
  for (size_t way = 0; way < 2; ++way) {
    NameCache::Slot const& slot = mNames->slots[index + way];
    if (slot.name != 0 && slot.head == head && slot.tail == tail && slot.size == size &&
        (size <= 16 || memcmp(slot.text.data() + 8, text + 8, size - 16) == 0)) {
      ns = slot.ns;
      name = slot.name;
      return;
    }
  }
  // A free slot of the pair, else the first.
  if (mNames->slots[index].name != 0 && mNames->slots[index + 1].name == 0) ++index;
  NameCache::Slot& slot = mNames->slots[index];
  char const* tab = static_cast<char const*>(memchr(text, '\t', size));
  if (tab == nullptr) {
    ns = 0;
    name = mTable->Add(text);
  } else {
    // The caller's text stays untouched: the URI is split off into a copy, on the stack when
    // it is of a usual length.
    size_t length = static_cast<size_t>(tab - text);
    char local[256];
    std::string heap;
    char const* uri = local;
    if (length < sizeof local) {
      memcpy(local, text, length);
      local[length] = '\0';
    } else {
      heap.assign(text, length);
      uri = heap.c_str();
    }
    ns = mTable->Add(uri);
    name = mTable->Add(tab + 1);
  }
  slot.head = head;
  slot.tail = tail;
  slot.size = size;
  slot.text.assign(text, size);
  slot.ns = ns;
  slot.name = name;
}

void Config::StartNamespace(char const* uri) {
  int ns = mTable->Add(uri != nullptr ? uri : "");
  if (mPrefixes.find(ns) == mPrefixes.end()) mPrefixes[ns] = ++mPrefixCounter;
}

void Config::StartElement(char const* name, char const** attributes) {
  int line =
      mParser != nullptr ? static_cast<int>(XML_GetCurrentLineNumber(mParser)) : mLineOverride;
  int ns = 0;
  int id = 0;
  ParseName(name, ns, id);
  // An element is made without allocating: nothing to give back.
  std::unique_ptr<Element> element(new (mArena->allocate(sizeof(Element))) Element(ns, id, line));
  size_t count = 0;
  while (attributes != nullptr && attributes[2 * count] != nullptr) ++count;
  element->mAttributes.reserve(count);
  for (char const** a = attributes; a != nullptr && a[0] != nullptr; a += 2) {
    int attributeNs = 0;
    int attributeName = 0;
    ParseName(a[0], attributeNs, attributeName);
    char const* value = a[1] != nullptr ? a[1] : "";
    element->mAttributes.push_back(
        inArena(mArena, Node::kNamed, attributeNs, attributeName, value, strlen(value)));
  }
  if (mRoot == nullptr) {
    mRoot = element.get();
  } else {
    if (!mStack.empty() && mStack.back()->isText()) mStack.pop_back();
    if (mStack.empty()) return;  // a second document element; Expat refuses it anyway
    mPending.push_back(element.get());
  }
  mStack.push_back(element.release());
  mOpened.push_back(mPending.size());
}

// Children wait in mPending until their element closes, so that each child list is
// allocated once at its final size.
void Config::EndElement() {
  if (!mStack.empty() && mStack.back()->isText()) mStack.pop_back();
  if (mStack.empty()) return;
  Element* element = static_cast<Element*>(mStack.back());
  size_t first = mOpened.back();
  element->mChildren.assign(mPending.begin() + static_cast<std::ptrdiff_t>(first), mPending.end());
  mPending.resize(first);
  mOpened.pop_back();
  mStack.pop_back();
}

namespace {

// The first piece of a text run, kept out of line: Expat hands most runs over in several
// pieces (a line end apart from the indentation after it), and the pieces that only append
// stay cheap without this path's unwinding set-up.
[[gnu::noinline]] void openText(NodeArena* arena, std::vector<Node*>& pending,
                                std::vector<Node*>& stack, char const* data, size_t length) {
  std::unique_ptr<Node> text(inArena(arena, Node::kText, 0, 0, data, length));
  pending.push_back(text.get());
  stack.push_back(text.release());
}

}  // namespace

void Config::CharData(char const* data, int length) {
  if (mStack.empty()) return;
  Node* top = mStack.back();
  if (top->isText()) {
    top->mValue.append(data, static_cast<size_t>(length));
  } else {
    openText(mArena, mPending, mStack, data, static_cast<size_t>(length));
  }
}

int Config::prefixOf(int ns) const {
  auto found = mPrefixes.find(ns);
  if (found != mPrefixes.end()) return found->second;
  mPrefixes[ns] = 0;
  return 0;
}

namespace {

struct PrintFrame {
  Element const* element;
  size_t next;  // index of the next child to print
};

}  // namespace

std::ostream& Config::Print(std::ostream& os, Element const* e) const {
  if (e == nullptr) return os;
  auto writeName = [&](Node const* node) {
    char const* local = mTable->Text(node->mName);
    if (local == nullptr) {
      os.setstate(std::ios::failbit);
      return;
    }
    if (node->mNamespace != 0) os << "ns" << prefixOf(node->mNamespace) << ':';
    os << local;
  };
  auto startTag = [&](Element const* element) {
    os << '<';
    writeName(element);
    if (element == mRoot) {
      for (auto const& prefix : mPrefixes) {
        char const* uri = mTable->Text(prefix.first);
        if (uri == nullptr) {
          os.setstate(std::ios::failbit);
          continue;
        }
        os << " xmlns:ns" << prefix.second << '=';
        writeQuoted(os, uri);
      }
    }
    for (Node const* attribute : element->mAttributes) {
      os << ' ';
      writeName(attribute);
      os << '=';
      writeQuoted(os, attribute->mValue);
    }
    os << '>';
  };
  auto endTag = [&](Element const* element) {
    // Namespaced elements close with their opening sequence and no slash; deliberate, and
    // relied upon by readers of printed documents.
    os << (element->mNamespace != 0 ? "<" : "</");
    writeName(element);
    os << '>';
  };

  std::vector<PrintFrame> stack;
  startTag(e);
  stack.push_back({e, 0});
  while (!stack.empty()) {
    PrintFrame& frame = stack.back();
    if (frame.next == frame.element->mChildren.size()) {
      endTag(frame.element);
      stack.pop_back();
      continue;
    }
    Node const* child = frame.element->mChildren[frame.next++];
    Element const* element = dynamic_cast<Element const*>(child);
    if (element == nullptr) {
      os << child->mValue;
      continue;
    }
    startTag(element);
    stack.push_back({element, 0});
  }
  return os;
}

void XMLCALL Config::startElementHook(void* self, XML_Char const* name, XML_Char const** atts) {
  static_cast<Config*>(self)->StartElement(name, atts);
}

void XMLCALL Config::endElementHook(void* self, XML_Char const*) {
  static_cast<Config*>(self)->EndElement();
}

void XMLCALL Config::startNamespaceHook(void* self, XML_Char const*, XML_Char const* uri) {
  static_cast<Config*>(self)->StartNamespace(uri);
}

void XMLCALL Config::charDataHook(void* self, XML_Char const* data, int length) {
  static_cast<Config*>(self)->CharData(data, length);
}

}  // namespace XML
}  // namespace corvane
