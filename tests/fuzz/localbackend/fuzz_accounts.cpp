#include "FuzzInput.h"
#include "accounts/AccountsFile.h"

using namespace quorvel::localbackend;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto accounts = parseAccounts(fuzzText(data, size));
    if (!accounts)
        return 0;
    const auto text = serializeAccounts(*accounts);
    const auto again = parseAccounts(text);
    require(again && serializeAccounts(*again) == text);
    return 0;
}
