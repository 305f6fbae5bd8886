#include "xml.hpp"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace omb_tool {
namespace {

bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool IsNameChar(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
         c == '_' || c == '-' || c == '.' || c == ':' || static_cast<unsigned char>(c) >= 0x80;
}

// One pass over the document with an explicit stack of open elements.
class Parser {
 public:
  Parser(const std::string& doc, const XmlLimits& limits) : s_(doc), limits_(limits) {}

  bool Run(XmlNode* root, std::string* error) {
    bool have_root = false;
    std::vector<XmlNode*> open;
    while (pos_ < s_.size()) {
      if (s_[pos_] != '<') {
        const std::size_t start = pos_;
        const std::size_t end = std::min(s_.find('<', pos_), s_.size());
        if (open.empty()) {
          for (std::size_t i = start; i < end; ++i)
            if (!IsSpace(s_[i])) return Fail("text outside the root element", error);
          Advance(end);
        } else {
          if (!Decode(start, end, &open.back()->text))
            return Fail("unknown or malformed entity", error);
          pos_ = end;
        }
        continue;
      }
      if (Starts("<?")) {
        if (!SkipPast("?>")) return Fail("unterminated declaration", error);
      } else if (Starts("<!--")) {
        if (!SkipPast("-->")) return Fail("unterminated comment", error);
      } else if (Starts("<![CDATA[")) {
        if (open.empty()) return Fail("CDATA outside the root element", error);
        const std::size_t start = pos_ + 9;
        if (!SkipPast("]]>")) return Fail("unterminated CDATA section", error);
        open.back()->text.append(s_, start, pos_ - 3 - start);
      } else if (Starts("<!")) {
        return Fail("document type declarations are not supported", error);
      } else if (Starts("</")) {
        pos_ += 2;
        const std::string name = Name();
        SkipSpace();
        if (pos_ >= s_.size() || s_[pos_] != '>') return Fail("malformed end tag", error);
        pos_++;
        if (open.empty() || open.back()->name != name)
          return Fail("end tag </" + name + "> does not match the open element", error);
        open.pop_back();
      } else {
        if (open.empty() && have_root) return Fail("more than one root element", error);
        if (static_cast<int>(open.size()) >= limits_.max_depth)
          return Fail("elements nested too deeply", error);
        if (++elements_ > limits_.max_elements) return Fail("too many elements", error);
        XmlNode* node = root;
        if (!open.empty()) {
          open.back()->children.push_back(std::make_unique<XmlNode>());
          node = open.back()->children.back().get();
        }
        node->line = line_;
        pos_++;
        node->name = Name();
        if (node->name.empty()) return Fail("malformed start tag", error);
        bool empty = false;
        if (!Attributes(&empty)) return Fail("malformed start tag <" + node->name + ">", error);
        have_root = true;
        if (!empty) open.push_back(node);
      }
    }
    if (!open.empty()) return Fail("element <" + open.back()->name + "> is not closed", error);
    if (!have_root) return Fail("no root element", error);
    return true;
  }

 private:
  bool Starts(const char* prefix) const { return s_.compare(pos_, std::strlen(prefix), prefix) == 0; }

  // Moves past the next occurrence of `end`, counting lines.
  bool SkipPast(const char* end) {
    const std::size_t at = s_.find(end, pos_);
    if (at == std::string::npos) {
      Advance(s_.size());
      return false;
    }
    Advance(at + std::strlen(end));
    return true;
  }

  void Advance(std::size_t to) {
    for (; pos_ < to; ++pos_)
      if (s_[pos_] == '\n') line_++;
  }

  void SkipSpace() {
    while (pos_ < s_.size() && IsSpace(s_[pos_])) Advance(pos_ + 1);
  }

  std::string Name() {
    const std::size_t start = pos_;
    while (pos_ < s_.size() && IsNameChar(s_[pos_])) pos_++;
    return s_.substr(start, pos_ - start);
  }

  // name="value" pairs up to '>' or '/>'; the values are not kept.
  bool Attributes(bool* empty) {
    for (;;) {
      SkipSpace();
      if (pos_ >= s_.size()) return false;
      if (s_[pos_] == '>') {
        pos_++;
        return true;
      }
      if (Starts("/>")) {
        pos_ += 2;
        *empty = true;
        return true;
      }
      if (Name().empty()) return false;
      SkipSpace();
      if (pos_ >= s_.size() || s_[pos_] != '=') return false;
      pos_++;
      SkipSpace();
      if (pos_ >= s_.size() || (s_[pos_] != '"' && s_[pos_] != '\'')) return false;
      const std::size_t close = s_.find(s_[pos_], pos_ + 1);
      if (close == std::string::npos) return false;
      Advance(close + 1);
    }
  }

  // Appends s_[start, end) with the predefined and numeric entities decoded.
  bool Decode(std::size_t start, std::size_t end, std::string* out) {
    for (std::size_t i = start; i < end; ++i) {
      if (s_[i] == '\n') line_++;
      if (s_[i] != '&') {
        out->push_back(s_[i]);
        continue;
      }
      const std::size_t semi = s_.find(';', i);
      if (semi == std::string::npos || semi >= end || semi - i > 8) return false;
      const std::string e = s_.substr(i + 1, semi - i - 1);
      static const char* const kNames[][2] = {
          {"lt", "<"}, {"gt", ">"}, {"amp", "&"}, {"quot", "\""}, {"apos", "'"}};
      bool known = false;
      for (const auto& n : kNames) {
        if (e == n[0]) {
          out->append(n[1]);
          known = true;
        }
      }
      if (!known) {  // only plain ASCII character references are needed
        unsigned code = 0;
        const bool hex = e.size() > 1 && e[0] == '#' && e[1] == 'x';
        std::size_t k = hex ? 2 : 1;
        if (e.size() <= k || e[0] != '#') return false;
        for (; k < e.size(); ++k) {
          const char c = e[k];
          const int digit = c >= '0' && c <= '9' ? c - '0'
                            : hex && c >= 'a' && c <= 'f' ? c - 'a' + 10
                            : hex && c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
          if (digit < 0) return false;
          code = code * (hex ? 16 : 10) + static_cast<unsigned>(digit);
        }
        if (code == 0 || code > 127) return false;
        out->push_back(static_cast<char>(code));
      }
      i = semi;
    }
    return true;
  }

  bool Fail(const std::string& message, std::string* error) const {
    *error = "line " + std::to_string(line_) + ": " + message;
    return false;
  }

  const std::string& s_;
  const XmlLimits& limits_;
  std::size_t pos_ = 0;
  int line_ = 1;
  std::size_t elements_ = 0;
};

}  // namespace

const XmlNode* XmlNode::Child(const std::string& child_name) const {
  for (const auto& c : children)
    if (c->name == child_name) return c.get();
  return nullptr;
}

bool ParseXml(const std::string& document, XmlNode* root, std::string* error,
              const XmlLimits& limits) {
  *root = XmlNode();
  if (document.size() > limits.max_bytes) {
    *error = "document larger than " + std::to_string(limits.max_bytes) + " bytes";
    return false;
  }
  if (document.find('\0') != std::string::npos) {
    *error = "document holds a NUL byte (not a text file?)";
    return false;
  }
  return Parser(document, limits).Run(root, error);
}

bool ReadXmlFile(const std::string& path, XmlNode* root, std::string* error,
                 const XmlLimits& limits) {
  std::FILE* f = std::fopen(path.c_str(), "rb");
  if (f == nullptr) {
    *error = "cannot open '" + path + "': " + std::strerror(errno);
    return false;
  }
  std::string text;
  char buffer[65536];
  std::size_t n;
  while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0) {
    text.append(buffer, n);
    if (text.size() > limits.max_bytes) break;
  }
  const bool failed = std::ferror(f) != 0;
  std::fclose(f);
  if (failed) {
    *error = "cannot read '" + path + "'";
    return false;
  }
  if (!ParseXml(text, root, error, limits)) {
    *error = path + ": " + *error;
    return false;
  }
  return true;
}

}  // namespace omb_tool
