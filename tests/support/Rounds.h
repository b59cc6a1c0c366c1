// How often a hardening test does its work: the usual count, or as the environment asks.
//
//     KZR_ROUNDS=full    the whole count, minutes instead of seconds
//     KZR_ROUNDS=tenth   a tenth of the usual one, for builds that are slow by design
#pragma once

namespace kzr::test {

// 0 only where that is the usual count: for what runs with the whole counts alone. An unknown word ends the
// program, since a run that does less than it was asked for passes for more than it is.
int Rounds(int usual, int full);

// KZR_SEED, or one of the moment; printed, so that a run can be repeated. What is no number ends the program.
unsigned Seed();

}  // namespace kzr::test
