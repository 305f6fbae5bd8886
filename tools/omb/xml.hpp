// A small XML reader for the detector's model files: elements, attributes
// (skipped), character data, comments, CDATA and the <?xml ...?>
// declaration. It builds the whole tree without recursion and rejects
// malformed or oversized input with a message carrying the line number, so
// a hostile file can neither crash it nor make it run away.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace omb_tool {

struct XmlNode {
  std::string name;
  std::string text;  // character data directly inside, entities decoded
  int line = 0;      // where the start tag is
  std::vector<std::unique_ptr<XmlNode>> children;

  // The first child element with this name, or nullptr.
  const XmlNode* Child(const std::string& child_name) const;
};

struct XmlLimits {
  std::size_t max_bytes = std::size_t{64} << 20;
  int max_depth = 64;
  std::size_t max_elements = std::size_t{4} << 20;
};

// Parses a document with exactly one root element into *root.
bool ParseXml(const std::string& document, XmlNode* root, std::string* error,
              const XmlLimits& limits = XmlLimits());

// Reads a file (at most limits.max_bytes) and parses it.
bool ReadXmlFile(const std::string& path, XmlNode* root, std::string* error,
                 const XmlLimits& limits = XmlLimits());

}  // namespace omb_tool
