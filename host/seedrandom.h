#pragma once

// Seeds `rand`, from which models take their stamps: with the number in the environment variable SOURCE_DATE_EPOCH if
// there is one, so that the same run gives the same bytes, else from the clock.
void SeedRandom();
