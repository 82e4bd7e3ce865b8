// The command line of every tool.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI { // of the parser, whose headers take longer to compile than all of a tool
class App;
class Option;
} // namespace CLI

/// A parser whose options begin with dashes on every system, so that a path that begins with a slash is a path. What is
/// wrong with a command line is told in one line, as every other failure of a tool is.
class CommandLine
{
public:
    /// What was added, to be told more about: each function answers the same option. No longer valid than the command
    /// line that it was added to.
    class Option
    {
    public:
        /// The command line is wrong without it.
        Option Required() const;
        /// Only numbers of First to Last, both included.
        Option Range(int32_t First, int32_t Last) const;
        Option Range(double First, double Last) const;
        /// Only numbers above 0.
        Option Positive() const;
        /// Only 0 and numbers above.
        Option NonNegative() const;
        Option OneOf(const std::vector<int32_t>& Values) const;
        /// One argument holds several values with this between them.
        Option Delimiter(char Between) const;
        /// Values are gathered when it is given more than once.
        Option TakeAll() const;

        /// Whether the parsed command line has it.
        bool IsGiven() const;

    private:
        friend class CommandLine;
        explicit Option(CLI::Option* pOption) : m_pOption(pOption) {}

        CLI::Option* m_pOption; // the parser's
    };

    /// @param Description  The first line of the help text.
    /// @param Name         The tool's, which begins every line that tells a fault.
    CommandLine(const std::string& Description, const std::string& Name);

    /// Adds an option that takes a value, or several into a vector, and leaves it in Value, which must live until the
    /// command line is parsed and is not touched when the option is not given.
    ///
    /// @param Names  With dashes in front, "-o,--output" when there are two; without dashes an argument known by its
    /// place.
    /// @param Help   What the help text says of it.
    Option Add(const std::string& Names, std::string& Value, const std::string& Help = {});
    Option Add(const std::string& Names, int32_t& Value, const std::string& Help = {});
    Option Add(const std::string& Names, int64_t& Value, const std::string& Help = {});
    Option Add(const std::string& Names, float& Value, const std::string& Help = {});
    Option Add(const std::string& Names, std::vector<std::string>& Values, const std::string& Help = {});
    Option Add(const std::string& Names, std::vector<int64_t>& Values, const std::string& Help = {});
    /// Adds an option whose value goes to a function, which Parse calls. What the function throws leaves Parse.
    Option Add(const std::string& Names, const std::function<void(const std::string&)>& Take, const std::string& Help);
    Option Add(const std::string& Names, const std::function<void(const int32_t&)>& Take, const std::string& Help);
    /// Adds an option without a value, which sets bGiven.
    Option AddFlag(const std::string& Names, bool& bGiven, const std::string& Help);

    /// Adds a command, a name with a command line of its own behind it. From then on one must be named.
    ///
    /// @return Owned by this command line.
    CommandLine& AddCommand(const std::string& Name, const std::string& Description);
    /// Whether the parsed command line names this command.
    bool IsNamed() const;

    /// Fills in what the options stand for, or prints the help text or what is wrong.
    ///
    /// @return Nothing when the tool is to do its work, else the status that it ends with.
    std::optional<int> Parse(int argc, char** argv);

private:
    explicit CommandLine(std::shared_ptr<CLI::App> pParser);

    std::shared_ptr<CLI::App> m_pParser; // a command's is the parser's of the tool, too
    std::vector<std::unique_ptr<CommandLine>> m_Commands;
};
