// What the fuzzers of messages share: two fixed key pairs with certificates, so that an input means the same
// in every run, and the failures that bad input may end in.
#pragma once

#include <cstdlib>
#include <initializer_list>

#include "base/Base64.h"
#include "base/Failure.h"
#include "x509/Certificate.h"

namespace kzr::softkey::fuzz {

struct Identity {
    KeyHandle key;
    Certificate certificate;
};

inline Identity IdentityOf(std::string_view key, std::string_view certificate)
{
    return {PrivateKeyFromDer(Base64Decode(key)), Certificate::FromText(certificate)};
}

inline const Identity& Sm2()
{
    static const Identity identity = IdentityOf(
        "MIGHAgEAMBMGByqGSM49AgEGCCqBHM9VAYItBG0wawIBAQQgnhWD/T4EnmHv0kXuslNvGe9+1yxtFHqq+50NQZ8bkCyhRANC"
        "AATnOqgyeeN+zJuRJyt6QraySxm8YAKhPPV9dsOBAbVBQ0oVUaxkzhq0rWEXUoDgQ7PJiyDR3/EdLjpUq29jLla6",
        "MIIBBTCBrAIBBzAKBggqgRzPVQGDdTAOMQwwCgYDVQQDDANzbTIwIBcNMjYxMTIxMDA0NjQ4WhgPMjA1NDA0MDgwMDQ2NDha"
        "MA4xDDAKBgNVBAMMA3NtMjBZMBMGByqGSM49AgEGCCqBHM9VAYItA0IABOc6qDJ5437Mm5EnK3pCtrJLGbxgAqE89X12w4EB"
        "tUFDShVRrGTOGrStYRdSgOBDs8mLINHf8R0uOlSrb2MuVrowCgYIKoEcz1UBg3UDSAAwRQIgP+JLXjvExa4+SeQzQUxIXK9N"
        "MGznUnyZsELioAOroLICIQCTPSHk+41v8zw3FvdmV0isjcHizS8agAGU/HcFsbgLlQ==");
    return identity;
}

inline const Identity& Rsa()
{
    static const Identity identity = IdentityOf(
        "MIICeAIBADANBgkqhkiG9w0BAQEFAASCAmIwggJeAgEAAoGBAOuyS+F6ycuX0ke92v21OfCpzqTVZ4tggULR5s/0e1dRYN3A"
        "FElTbgUTktpG6/SUHrd6zbNYM3P5W8jzl7Q0r5GKSnO6aCf6d8mXfvbrvTmh0ptbChQdP4JaNTgc997EULn+jQjyKYrl+b6D"
        "R8rS6YUPV5ygBrodj7fiMuqqpWs3AgMBAAECgYEA4EnqFabAM0LFc0nDBF2ZxmAA6jC9+Q8b0pdmOoxfdydUs5CefWysLJ6E"
        "x7xnu3XciSOObdVIGVu4sVDFE1Jzootg+KBRudIpOJOF8mKJ05/M2fHJ1/+dxl17EbKtRt+hy/ad4QcPyVZi3q6kD3FkaD/c"
        "bm13i32AEDVBOJgASfECQQD2zeQSMIj93Azjt2pPm4MUByU/XfXmQNfNGcP1o86tXP/VuesSMaHKUmc9pUv85V2oobZTzPYX"
        "VtkkpntwIRBfAkEA9Hp0kWFlTCPUuIwVGljl9E28BQGR5XLNGc7W+rVlKuDhGcO6oK4qPks2BDIujiYaRdLbtjN7OWyKCxzE"
        "LYm0KQJAeLFNFDwZ8hMXVpDOc2m4WyX3aBqZ8uTI46ry8oANxSfSkIEf3MDavuc3R6U7GMxN1fZnBGoZ+mXlQJANk1MH/wJB"
        "ALOP6WQKHAOTYZ72TF2go60PFyS6JXVYH2pwMBfN+XNH3i01RDLWGPLN/OuSC/2d4LgeCf/FyiDAJpfI1hH4TRkCQQDoh2wB"
        "yalUvc1fSma6/5evbXkeYmHeVQ/8wqBXNL/4i0xguQtSvnTgvy9D9EsIFC6JCqpRPlnJKabTOXD0aKBy",
        "MIIBjDCB9gIBBzANBgkqhkiG9w0BAQsFADAOMQwwCgYDVQQDDANyc2EwIBcNMjYxMTIxMDA0NjQ3WhgPMjA1NDA0MDgwMDQ2"
        "NDdaMA4xDDAKBgNVBAMMA3JzYTCBnzANBgkqhkiG9w0BAQEFAAOBjQAwgYkCgYEA67JL4XrJy5fSR73a/bU58KnOpNVni2CB"
        "QtHmz/R7V1Fg3cAUSVNuBROS2kbr9JQet3rNs1gzc/lbyPOXtDSvkYpKc7poJ/p3yZd+9uu9OaHSm1sKFB0/glo1OBz33sRQ"
        "uf6NCPIpiuX5voNHytLphQ9XnKAGuh2Pt+Iy6qqlazcCAwEAATANBgkqhkiG9w0BAQsFAAOBgQDm8rTykd55r7vFsm66kXhb"
        "r/EUvvOBMqOLJKrojuyCEPSH9BF6lyGlPoUEuwdXSsePmarg4PA1uF3CpmWBtClawDhWajvxplq4j5/ZZx+UHoY+Hrk5Dssb"
        "dZftkdH7dVoO1nYW6l/SL4F08TaHoxGw1C2Nb8SB4PBgVsXqkqAfmg==");
    return identity;
}

// False when it failed in one of the ways allowed; any other way is a finding.
template <typename Action>
bool Succeeds(std::initializer_list<Cause> allowed, Action action)
{
    try {
        action();
        return true;
    } catch (const Failure& failure) {
        for (const Cause cause : allowed)
            if (failure.Why() == cause) return false;
        std::abort();
    }
}

inline void Demand(bool condition)
{
    if (!condition) std::abort();
}

}  // namespace kzr::softkey::fuzz
