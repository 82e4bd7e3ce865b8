#include "tools/common/command_line.h"

#include <CLI/CLI.hpp>

#include <utility>

using Option = CommandLine::Option;

CommandLine::CommandLine(const std::string& Description, const std::string& Name)
    : CommandLine(std::make_shared<CLI::App>(Description, Name))
{
    m_pParser->allow_windows_style_options(false);
    m_pParser->failure_message([](const CLI::App* pParser, const CLI::Error& Fault) {
        return pParser->get_name() + ": " + Fault.what() + "; --help tells more\n";
    });
}

CommandLine::CommandLine(std::shared_ptr<CLI::App> pParser) : m_pParser(std::move(pParser)) {}

Option CommandLine::Add(const std::string& Names, std::string& Value, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Value, Help));
}

Option CommandLine::Add(const std::string& Names, int32_t& Value, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Value, Help));
}

Option CommandLine::Add(const std::string& Names, int64_t& Value, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Value, Help));
}

Option CommandLine::Add(const std::string& Names, float& Value, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Value, Help));
}

Option CommandLine::Add(const std::string& Names, std::vector<std::string>& Values, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Values, Help));
}

Option CommandLine::Add(const std::string& Names, std::vector<int64_t>& Values, const std::string& Help)
{
    return Option(m_pParser->add_option(Names, Values, Help));
}

Option CommandLine::Add(const std::string& Names, const std::function<void(const std::string&)>& Take,
                        const std::string& Help)
{
    return Option(m_pParser->add_option_function<std::string>(Names, Take, Help));
}

Option CommandLine::Add(const std::string& Names, const std::function<void(const int32_t&)>& Take,
                        const std::string& Help)
{
    return Option(m_pParser->add_option_function<int32_t>(Names, Take, Help));
}

Option CommandLine::AddFlag(const std::string& Names, bool& bGiven, const std::string& Help)
{
    return Option(m_pParser->add_flag(Names, bGiven, Help));
}

CommandLine& CommandLine::AddCommand(const std::string& Name, const std::string& Description)
{
    CLI::App* const pCommand = m_pParser->add_subcommand(Name, Description);
    m_pParser->require_subcommand(1);
    m_Commands.emplace_back(new CommandLine(m_pParser->get_subcommand_ptr(pCommand)));
    return *m_Commands.back();
}

bool CommandLine::IsNamed() const { return m_pParser->parsed(); }

std::optional<int> CommandLine::Parse(int argc, char** argv)
try {
    m_pParser->parse(argc, argv);
    return std::nullopt;
} catch (const CLI::ParseError& Fault) {
    return m_pParser->exit(Fault);
}

Option Option::Required() const { return Option(m_pOption->required()); }

Option Option::Range(int32_t First, int32_t Last) const { return Option(m_pOption->check(CLI::Range(First, Last))); }

Option Option::Range(double First, double Last) const { return Option(m_pOption->check(CLI::Range(First, Last))); }

Option Option::Positive() const { return Option(m_pOption->check(CLI::PositiveNumber)); }

Option Option::NonNegative() const { return Option(m_pOption->check(CLI::NonNegativeNumber)); }

Option Option::OneOf(const std::vector<int32_t>& Values) const
{
    return Option(m_pOption->check(CLI::IsMember(Values)));
}

Option Option::Delimiter(char Between) const { return Option(m_pOption->delimiter(Between)); }

Option Option::TakeAll() const { return Option(m_pOption->take_all()); }

bool Option::IsGiven() const { return m_pOption->count() > 0; }
