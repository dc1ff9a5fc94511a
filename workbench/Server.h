// The workbench: a set and some images, served to pages on this machine.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/base/UserPath.h"
#include "host/measure/PixelScale.h"

namespace host::workbench {

struct ServerOptions {
    UserPath set;
    std::vector<UserPath> images;
    int port = 0;  ///< any free one for 0
    bool readOnly = false;
    std::optional<PixelScale> scale = {};  ///< of the pixels of all images; what each says of itself without it
};

class Server {
  public:
    /// Reads the set and answers requests from then on, on threads of its own. Throws Error for a set that cannot be
    /// read and for a port that is taken.
    explicit Server(const ServerOptions& options);
    /// Ends with the requests that are being answered.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    /// What to open in a browser; it holds the token that lets its user in.
    std::string Address() const;

  private:
    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

}  // namespace host::workbench
