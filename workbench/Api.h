// The requests that the server answers, by subject. docs/workbench.md is their manual.
#pragma once

#include <httplib.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "workbench/Desk.h"
#include "workbench/Events.h"
#include "workbench/ImageStore.h"
#include "workbench/Measuring.h"

namespace host::workbench {

/// What requests work with.
struct Api {
    UserPath set;
    bool readOnly = false;
    std::optional<PixelScale> scale;
    Events& events;
    ImageStore& images;
    ModuleThread& module;
};

/// Routes of a server whose handlers may throw: that becomes the answer.
class Routes {
  public:
    using Handler = std::function<void(const httplib::Request&, httplib::Response&)>;

    explicit Routes(httplib::Server& server) : m_server(server) {}

    void Get(const std::string& pattern, Handler handler);
    void Post(const std::string& pattern, Handler handler);

  private:
    httplib::Server& m_server;
};

void AddSetRoutes(Routes& routes, Api& api);
void AddEditRoutes(Routes& routes, Api& api);
void AddImageRoutes(Routes& routes, Api& api);
void AddMeasureRoutes(Routes& routes, Api& api);
void AddExchangeRoutes(Routes& routes, Api& api);

// ---------------------------------------------------------------------------------------------------
// What requests say. All throw a usage error for what makes no sense.

/// A parameter of the query; without `otherwise` it must be there.
double NumberParameter(const httplib::Request& request, const char* name,
                       std::optional<double> otherwise = std::nullopt);
int IntegerParameter(const httplib::Request& request, const char* name, std::optional<int> otherwise = std::nullopt);
std::string TextParameter(const httplib::Request& request, const char* name);
bool FlagParameter(const httplib::Request& request, const char* name, bool otherwise = false);
/// All values of a parameter that may come again.
std::vector<std::string> TextParameters(const httplib::Request& request, const char* name);

/// The page that `image` and `page` name.
std::shared_ptr<const LoadedPage> PageParameter(const httplib::Request& request, ImageStore& images);
/// The channel that `channel` names, if it does.
std::optional<int> ChannelParameter(const httplib::Request& request, const LoadedPage& page);
/// How large the pixels of a page are: as `asked`, in words, or as the command was told, or as the page says.
PixelScale ScaleOf(const Api& api, const std::string& asked, const LoadedPage& page);
/// The same as `pixelSize` asks for.
PixelScale ScaleParameter(const httplib::Request& request, const Api& api, const LoadedPage& page);
/// How far chords may be off, by `tolerance`.
double ToleranceParameter(const httplib::Request& request);

/// What the event `change` tells.
Json ChangeJson(const Desk& desk);

/// `"columns":..,"rows":..` of these figures.
Json TableOf(const Measurement& measurement, Json rows);

}  // namespace host::workbench
