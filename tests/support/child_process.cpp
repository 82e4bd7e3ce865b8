#include "tests/support/child_process.h"

#include "platform/paths.h"
#include "tests/support/system.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/whole_files.h"

#include <cstdlib>
#include <map>

namespace {

constexpr char kBody[] = "QUILVEX_CHILD_BODY", kArgument[] = "QUILVEX_CHILD_ARGUMENT";

std::map<std::string, ChildBody::Function>& Bodies()
{
    static std::map<std::string, ChildBody::Function> s_Bodies;
    return s_Bodies;
}

std::string TextOf(const std::string& File)
{
    const std::vector<uint8_t> Bytes = test::ReadWholeFile(File);
    return {Bytes.begin(), Bytes.end()};
}

} // namespace

ChildBody::ChildBody(const char* pName, Function pBody) { Bodies()[pName] = pBody; }

ChildResult RunChild(const std::string& Body, const std::string& Argument, uint32_t Milliseconds)
{
    const TemporaryFolder Folder;
    const ScopedEnvironment SetBody(kBody, Body), SetArgument(kArgument, Argument);
    const std::string Out = Folder.File("out"), Err = Folder.File("err");
    ChildResult Result = test_system::RunProgram(platform::ExecutablePath(), Out, Err, Milliseconds);
    Result.Out = TextOf(Out);
    Result.Err = TextOf(Err);
    return Result;
}

bool RunAsChild(int& Status)
{
    const char* const pBody = std::getenv(kBody);
    if (!pBody) return false;
    const std::string Body = pBody;
    const char* const pArgument = std::getenv(kArgument);
    const std::string Argument = pArgument ? pArgument : "";
    test_system::CrashQuietly();
    const auto Found = Bodies().find(Body);
    Status = Found == Bodies().end() ? 127 : Found->second(Argument);
    return true;
}
