#include "tools/common/json_text.h"
#include "tools/qvlx/qvlx.h"

#include <cstdio>

namespace {

struct Request {
    uint32_t id;
    const char* pMeaning;
};
constexpr Request kRequests[] = {
    {1, "encoder, hardware first"}, {101, "decoder, hardware first"}, {2, "Intel software implementation first"},
    {11, "encoder, hardware only"}, {111, "decoder, hardware only"},  {0, "software"}};

void Probe(bool bJson)
{
    JsonArray Report;
    for (const Request& Each : kRequests) {
        const Codec Result(CreateVCodec(Each.id));
        const std::string Engine = Result ? TagText(Result->GetBackendTag()) : "none";
        Report.push_back(JsonObject{{"id", Each.id}, {"request", Each.pMeaning}, {"engine", Engine}});
        if (!bJson) std::fprintf(Output(), "%4u  %-38s %s\n", Each.id, Each.pMeaning, Engine.c_str());
    }
    if (bJson) std::fprintf(Output(), "%s\n", JsonText(Report, 2).c_str());
}

} // namespace

Command AddProbe(CommandLine& App)
{
    const auto pJson = std::make_shared<bool>(false);
    App.AddFlag("--json", *pJson, "Print one JSON value on standard output");
    return [pJson] { Probe(*pJson); };
}
