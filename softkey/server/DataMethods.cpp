// Digests, random data and Base64. None of these needs a key.
#include "base/Base64.h"
#include "base/File.h"
#include "crypto/Digest.h"
#include "server/Methods.h"

namespace kzr::softkey {

Answer HashData(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Base64Encode(Digest(HashCodeOf(arguments.Number(0)), arguments.Data(1))));
}

Answer HashFile(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Base64Encode(DigestFile(HashCodeOf(arguments.Number(0)), arguments.Name(1))));
}

Answer GenRandom(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Base64Encode(RandomBytes(arguments.Number(0))));
}

Answer EncodeText(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Base64Encode(arguments.Data(0)));
}

Answer DecodeText(const Arguments& arguments, ControlState&)
{
    return Answer::Text(TextOf(Base64Decode(arguments.Text(0))));
}

Answer EncodeFile(const Arguments& arguments, ControlState&)
{
    return Answer::Text(Base64Encode(ReadWholeFile(arguments.Name(0))));
}

Answer DecodeFile(const Arguments& arguments, ControlState&)
{
    WriteWholeFile(arguments.Name(1), Base64Decode(arguments.Text(0)));
    return Answer::Truth(true);
}

}  // namespace kzr::softkey
