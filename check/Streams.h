// Places to save a figure in: a folder stream and a structured stream, in memory.
#pragma once

#include <memory>

#include <pugixml.hpp>

#include "framework/support/FolderStream.h"
#include "framework/support/XMLStream.h"

/// An archive and a document, each with a place for one figure.
class Storage {
  public:
    SmartPtr<IDataStream> Folder() const { return MakeFolderStream(m_archive, "figure"); }
    /// The element that a figure is saved in, and its parent.
    SmartPtr<IDataStream> Element() const { return MakeXMLStream(m_document, m_element); }
    SmartPtr<IDataStream> Parent() const { return MakeXMLStream(m_document, m_parent); }

    pugi::xml_node ElementNode() const { return m_element; }
    FolderArchive& Archive() const { return *m_archive; }

  private:
    std::shared_ptr<FolderArchive> m_archive = std::make_shared<FolderArchive>();
    XMLDocument m_document = std::make_shared<pugi::xml_document>();
    pugi::xml_node m_parent = m_document->append_child("set");
    pugi::xml_node m_element = m_parent.append_child("figure");
};
