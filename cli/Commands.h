// The commands of `roi`. Each function registers one subcommand: its arguments, its help with an
// example, and a callback that does the work.
//
// A callback makes its Session, writes data through WriteStdout, talks on standard error, and reports failure by
// throwing Error. An answer of no is AnswerNo().
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>

#include "cli/Table.h"
#include "cli/Talk.h"
#include "host/base/UserPath.h"
#include "host/images/ImageFile.h"
#include "host/measure/Region.h"
#include "host/sets/EditSet.h"
#include "host/sets/RoiSet.h"

namespace host::cli {

void AddClassesCommand(CLI::App& roi);
void AddAddCommand(CLI::App& roi);
void AddSetCommand(CLI::App& roi);
void AddListCommand(CLI::App& roi);
void AddRemoveCommand(CLI::App& roi);
void AddNodesCommand(CLI::App& roi);
void AddDragCommand(CLI::App& roi);
void AddHitCommand(CLI::App& roi);
void AddPointCommand(CLI::App& roi);
void AddTransformCommand(CLI::App& roi);
void AddCloneCommand(CLI::App& roi);
void AddConvertCommand(CLI::App& roi);
void AddMeasureCommand(CLI::App& roi);
void AddDrawCommand(CLI::App& roi);
void AddMaskCommand(CLI::App& roi);
void AddLabelsCommand(CLI::App& roi);
void AddProfileCommand(CLI::App& roi);
void AddOpenCommand(CLI::App& roi);
void AddHistogramCommand(CLI::App& roi);
void AddImportCommand(CLI::App& roi);
void AddExportCommand(CLI::App& roi);
void AddUndoCommand(CLI::App& roi);
void AddRedoCommand(CLI::App& roi);
void AddLogCommand(CLI::App& roi);
void AddCheckCommand(CLI::App& roi);
void AddManualCommand(CLI::App& roi);
void AddCompletionCommand(CLI::App& roi);

/// A subcommand with its one-line description and, at the end of its help, an example.
CLI::App& AddCommand(CLI::App& roi, const std::string& name, const std::string& description,
                     const std::string& example);
/// A positional argument that must be given.
template <class Value>
CLI::Option* AddArgument(CLI::App& command, const std::string& name, Value& value, const std::string& description) {
    return command.add_option(name, value, description)->required()->type_name("");
}
/// The positional argument SET.
void AddSetArgument(CLI::App& command, UserPath& set);
/// The option --pages 1,3-5.
void AddPagesOption(CLI::App& command, std::optional<PageSelection>& pages);
/// The option --channels: `what` there is of each, "A row".
void AddChannelsOption(CLI::App& command, bool& channels, const std::string& what);
/// The option --lenient; the description says what is done with what could be read.
void AddLenientOption(CLI::App& command, Damage& damage, const std::string& description);
/// The option --format table|csv|json; a table for people without it.
void AddFormatOption(CLI::App& command, TableFormat& format);

/// Which pixels count, for the help of every command that takes PixelOptions.
inline constexpr char kPixelRule[] =
    R"(Pixel (i, j) is the unit square around the point (i, j). It belongs to a figure when its centre lies inside the
figure's outline; on an edge the left and top side count, the right and bottom side do not.
)";

/// The options --by outline|module and, where parts of pixels make sense, --exact.
class PixelOptions {
  public:
    enum Parts { kWhole, kParts };

    /// They are written when the command line is read: the object must stay where it is.
    void AddTo(CLI::App& command, Parts parts);
    /// Throws a usage error for both at a time.
    PixelRule Rule() const;

  private:
    bool m_module = false;
    bool m_exact = false;
};

/// Tells what is to be said of an image.
void WarnAll(const UserPath& image, const std::vector<std::string>& warnings);

/// The options of a command that edits: --dry-run and --wait.
void AddEditOptions(CLI::App& command, EditOptions& options);
/// The option --force of a command that writes a file; see CheckOutput.
void AddForceOption(CLI::App& command, bool& force);

/// Where an image lies that may be named with a page, as a command must know before it writes; see CheckOutput.
UserPath FileOf(const UserPath& image);

/// Edits the file of a set in the name of the command as it was typed, and warns of what the file does not keep.
void Edit(const Session& session, const UserPath& set, const EditOptions& options,
          const std::function<void(RoiSet&)>& edit);
/// Tells people what became, or in a dry run would become, of a set.
void Tell(const EditResult& result, const EditOptions& options);
/// The words after `roi`, in one line.
std::string& CommandLine();

/// What `roi` exits with.
enum ExitCode : int {
    kExitDone = 0,
    kExitFailed = 1,  ///< the answer is no, or the work failed
    kExitUsage = 2,   ///< the command line asks for something that does not exist
    kExitPartly = 7   ///< some of many failed, and what the others gave stands
};

/// Ends the command with exit code 1 and no message.
[[noreturn]] inline void AnswerNo() { throw CLI::RuntimeError(kExitFailed); }

/// Some of many failed: exits with kExitPartly.
class PartlyFailed : public Error {
  public:
    using Error::Error;
};

}  // namespace host::cli
