#pragma once
// The classifications of CI90_INDICATORI that lookups and decoders show in
// words: each kind (CI90_CODICE) with the label of every value the program
// knows. Values it does not know keep the description stored in the table,
// except where `storedFallback` is false (they show Null).

#include <cstdint>
#include <initializer_list>

#include "compose/case_column.h"

namespace brelvane {

struct Indicator {
  int32_t code;  ///< CI90_CODICE
  std::initializer_list<Branch> labels;
  bool storedFallback = true;
};

inline constexpr Indicator kCostOrigins{1, {{0, 67538}, {1, 75180}, {2, 16671}, {3, 16618}}};
inline constexpr Indicator kCausalNatures{2, {{0, 16572}, {1, 48931}}};
inline constexpr Indicator kOrderMovementKinds{3, {{1, 84604}, {2, 50787}, {3, 74809}}};
inline constexpr Indicator kCostVariability{5, {{0, 39154}, {1, 16666}, {2, 16786}, {3, 16884}}};
inline constexpr Indicator kActivityKinds{6, {{0, 39797}, {1, 34030}, {2, 26159}}};
inline constexpr Indicator kIndustrialAccountKinds{7,
                                                   {{1, 84689},
                                                    {2, 85258},
                                                    {3, 14234},
                                                    {4, 10643},
                                                    {5, 35336},
                                                    {6, 36548},
                                                    {7, 36959},
                                                    {8, 84937},
                                                    {9, 49888},
                                                    {10, 84543}},
                                                   false};
inline constexpr Indicator kCustomerSupplier{8, {{0, 39333}, {1, 11180}, {2, 27554}}};
inline constexpr Indicator kRegistrationStates{9, {{0, 17504}, {1, 17598}, {2, 75885}}};

}  // namespace brelvane
