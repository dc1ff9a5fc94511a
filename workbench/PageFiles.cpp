#include "workbench/PageFiles.h"

#include "host/base/ModuleFolder.h"
#include "host/base/SafeFile.h"
#include "workbench/Answer.h"

namespace host::workbench {

namespace {

namespace fs = std::filesystem;

// A library for pages, as Debian packages it.
struct Library {
    const char* folder;
    const char* file;  // what the page asks for
    const char* package;
};
constexpr Library kLibraries[] = {{"leaflet", "leaflet.min.js", "libjs-leaflet"},
                                  {"chart.js", "chart.min.js", "libjs-chart.js"}};

// What a browser takes a file for; nothing for one that no page needs.
const char* TypeOf(const fs::path& file) {
    static const std::map<std::string, const char*> kTypes = {{".html", "text/html; charset=utf-8"},
                                                              {".js", "text/javascript; charset=utf-8"},
                                                              {".css", "text/css; charset=utf-8"},
                                                              {".svg", "image/svg+xml"},
                                                              {".png", "image/png"},
                                                              {".ico", "image/x-icon"}};
    const auto found = kTypes.find(file.extension().string());
    return found != kTypes.end() ? found->second : nullptr;
}

}  // namespace

PageFiles::PageFiles() {
    std::error_code failure;
    const fs::path installed = DefaultModuleFolder() / "page";
    AddFolder("/static/", fs::exists(installed, failure) ? installed : fs::path(PAGE_SOURCES));
    for (const Library& library : kLibraries) {
        const std::string prefix = std::string("/lib/") + library.folder + '/';
        const fs::path folder = fs::path("/usr/share/javascript") / library.folder;
        AddFolder(prefix, folder);
        if (m_files.count(prefix + library.file) == 0) {
            throw Error("cannot show the page", (folder / library.file).string(),
                        std::string("install the package ") + library.package, ErrorKind::missingFile);
        }
    }
    if (const auto index = m_files.find("/static/index.html"); index != m_files.end()) {
        m_files.emplace("/", index->second);
    }
}

void PageFiles::AddFolder(const std::string& prefix, const fs::path& folder) {
    std::error_code failure;
    for (const auto& entry : fs::recursive_directory_iterator(folder, failure)) {
        if (entry.is_regular_file(failure) && TypeOf(entry.path()) != nullptr) {
            m_files.emplace(prefix + entry.path().lexically_relative(folder).generic_string(), entry.path());
        }
    }
}

void PageFiles::Send(const std::string& path, httplib::Response& response) const {
    const auto found = m_files.find(path);
    if (found == m_files.end()) {
        throw Error("no such file", path, "the page has none of that name", ErrorKind::missingFile);
    }
    response.set_header("Cache-Control", "no-cache");
    SendBytes(response, ReadWholeFile("page", found->second.string()), TypeOf(found->second));
}

}  // namespace host::workbench
