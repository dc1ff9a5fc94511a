// The files of the page, and of the libraries that it is built on.
#pragma once

#include <httplib.h>

#include <filesystem>
#include <map>
#include <string>

namespace host::workbench {

/// Knows its files by the paths of requests, once and for all: nothing else is ever served.
class PageFiles {
  public:
    /// Looks where an installation puts them, and in the sources. Throws Error when a library is not installed.
    PageFiles();

    /// Sends the file for the path of a request. Throws Error when there is none.
    void Send(const std::string& path, httplib::Response& response) const;

  private:
    void AddFolder(const std::string& prefix, const std::filesystem::path& folder);

    std::map<std::string, std::filesystem::path> m_files;
};

}  // namespace host::workbench
