// A catalogue of stored records that shows every argument type, message type and header option
// the decoder reads, in both versions and both payload byte orders: test data for comparing two
// builds of the converter byte for byte and a seed for fuzzing.
#ifndef ZEL_DLTGEN_CATALOGUE_H
#define ZEL_DLTGEN_CATALOGUE_H

#include <vector>

#include "dlt_record.h"

namespace zel::dltgen {

std::vector<Record> Catalogue();

}  // namespace zel::dltgen

#endif  // ZEL_DLTGEN_CATALOGUE_H
