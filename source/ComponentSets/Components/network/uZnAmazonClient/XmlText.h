#pragma once

/// Just enough of XML for the flat answers of storage services: elements by name, text without markup.

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Zn
{

/// The text of the first element of that name, with its entities resolved; nothing where there is none. Text
/// that holds elements is given as it stands.
std::optional<std::string> XmlElement(std::string_view AXml, std::string_view AName);

/// Gives what stands inside each element of that name, in their order.
void ForEachXmlElement(std::string_view AXml, std::string_view AName,
                       const std::function<void(std::string_view AContent)>& ATake);

/// The five named entities and those by number; others stay as they stand.
std::string XmlUnescaped(std::string_view AText);

} // namespace Zn
