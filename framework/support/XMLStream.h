// The structured stream: a node of an XML document, on pugixml.
#pragma once

#include <memory>
#include <string>

#include <pugixml.hpp>

#include "contract/Framework.h"
#include "contract/SmartPtr.h"

/// A document that streams share; it lives as long as the last of them.
using XMLDocument = std::shared_ptr<pugi::xml_document>;

/// A new stream over one element of a document: values are written into it, and its child elements are
/// enumerated from the first. It answers IDataStream, IXMLStream and IString (the element's text).
/// One reference, or null without memory.
///
/// An element whose name XML cannot express is written as <value name="...">, and enumerated under it.
SmartPtr<IDataStream> MakeXMLStream(XMLDocument document, pugi::xml_node element) noexcept;
