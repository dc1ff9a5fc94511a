#include "workbench/Api.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace host::workbench {

namespace {

template <class Parse>
auto Parameter(const httplib::Request& request, const char* name, Parse parse, decltype(parse(std::string())) otherwise,
               const char* wanted) {
    if (!request.has_param(name) && otherwise) {
        return *otherwise;
    }
    const std::string text = request.get_param_value(name);
    const auto value = parse(text);
    if (!value) {
        throw UsageError("bad request", name, fmt::format("'{}' is not {}", text, wanted));
    }
    return *value;
}

Routes::Handler Answering(Routes::Handler handler) {
    return [handler = std::move(handler)](const httplib::Request& request, httplib::Response& response) {
        try {
            handler(request, response);
        } catch (...) {
            SendFailure(response, std::current_exception());
        }
    };
}

}  // namespace

void Routes::Get(const std::string& pattern, Handler handler) { m_server.Get(pattern, Answering(std::move(handler))); }

void Routes::Post(const std::string& pattern, Handler handler) {
    m_server.Post(pattern, Answering(std::move(handler)));
}

double NumberParameter(const httplib::Request& request, const char* name, std::optional<double> otherwise) {
    return Parameter(request, name, ParseNumber, otherwise, "a number");
}

int IntegerParameter(const httplib::Request& request, const char* name, std::optional<int> otherwise) {
    return Parameter(request, name, ParseInteger, otherwise, "a whole number");
}

std::string TextParameter(const httplib::Request& request, const char* name) {
    if (!request.has_param(name)) {
        throw UsageError("bad request", name, "it is missing");
    }
    return request.get_param_value(name);
}

bool FlagParameter(const httplib::Request& request, const char* name, bool otherwise) {
    return IntegerParameter(request, name, otherwise ? 1 : 0) != 0;
}

std::vector<std::string> TextParameters(const httplib::Request& request, const char* name) {
    std::vector<std::string> values;
    const auto [first, last] = request.params.equal_range(name);
    std::transform(first, last, std::back_inserter(values), [](const auto& parameter) { return parameter.second; });
    return values;
}

std::shared_ptr<const LoadedPage> PageParameter(const httplib::Request& request, ImageStore& images) {
    return images.Page({IntegerParameter(request, "image", 0), IntegerParameter(request, "page", 1)});
}

std::optional<int> ChannelParameter(const httplib::Request& request, const LoadedPage& page) {
    if (!request.has_param("channel")) {
        return std::nullopt;
    }
    const int channel = IntegerParameter(request, "channel");
    if (channel < 0 || channel >= page.Info().channels) {
        throw UsageError("no such channel", std::to_string(channel),
                         fmt::format("the image has {}, counted from 0", page.Info().channels));
    }
    return channel;
}

PixelScale ScaleOf(const Api& api, const std::string& asked, const LoadedPage& page) {
    return !asked.empty() ? PixelScale(asked) : api.scale ? *api.scale : PixelScale(page.Info());
}

PixelScale ScaleParameter(const httplib::Request& request, const Api& api, const LoadedPage& page) {
    return ScaleOf(api, request.get_param_value("pixelSize"), page);
}

double ToleranceParameter(const httplib::Request& request) {
    return std::clamp(NumberParameter(request, "tolerance", kTolerance), 1e-3, 1e3);
}

Json TableOf(const Measurement& measurement, Json rows) {
    return {{"columns", NamesOf(measurement.columns)}, {"rows", std::move(rows)}};
}

}  // namespace host::workbench
