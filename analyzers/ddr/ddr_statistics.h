#pragma once

#include "analyzers/ddr/ddr_master_info.h"

namespace zarn {

// Fills in what follows from `values`, `timeStamps` and the bounds of one master: mean, maximum and
// minimum, local peaks above and troughs below a band of a tenth around the mean, the seconds
// between peaks, and the excess over the upper bound. Peaks and troughs are added to those already
// there.
//
// A peak is the last sample of a top that was risen to and is fallen from; a run whose top stays
// below the band is forgotten. A trough is a sample before a rise, below the band, with a fall
// anywhere since the last trough: a run that ends above the band keeps its fall. The two tests are
// not mirror images.
//
// Throws std::out_of_range if a peak's moment has fewer than ten characters and its distance is
// due. A moment whose digits cannot be read prints a line and gives no distance.
void AnalyzeMaster(DdrMasterInfo& info);

}  // namespace zarn
