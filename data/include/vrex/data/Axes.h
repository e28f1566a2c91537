#pragma once
// Abscissas of the equidistant value kinds. A Vector, VectorTrack or Matrix
// sends only ordinates; the i-th ordinate (counted from 0) lies at
// x = Start + i * Delta of its XAxisRange, and the j-th row of a matrix at
// z = Start + j * Delta of its ZAxisRange. A point's abscissa is fixed by its
// place in the list, so zero points count like any other.
//
// The helpers compute in double (Start and Delta widened from float, no
// running sum), so the last abscissa of a long axis carries no accumulated
// rounding error. They return one abscissa per ordinate actually present;
// `Length` is not used for counting, as the server need not send that many
// (compare it with the result's size where that matters).
//
//   const Vector& spectrum = value.vector();
//   std::vector<double> x = vrex::data::Abscissas(spectrum);
//   for (int i = 0; i < spectrum.values_size(); ++i)
//     plot(x[i], spectrum.values(i).y());

#include <cstddef>
#include <vector>

#include "AxisRange.pb.h"
#include "Matrix.pb.h"
#include "Vector.pb.h"
#include "VectorTrack.pb.h"
#include "vrex/Export.h"

namespace vrex::data {

/// Start + index * Delta.
VREX_EXPORT double AxisValue(const Korvan::KQ::DataContracts::AxisRange& axis, std::size_t index);

/// The first `count` points of an axis.
VREX_EXPORT std::vector<double> AxisValues(const Korvan::KQ::DataContracts::AxisRange& axis,
                                           std::size_t count);

/// One abscissa per ordinate of the vector.
VREX_EXPORT std::vector<double> Abscissas(const Korvan::KQ::DataContracts::Vector& vector);

/// The shared x axis of the track's elements, as long as its longest element.
VREX_EXPORT std::vector<double> Abscissas(const Korvan::KQ::DataContracts::VectorTrack& track);

/// The shared x axis of the matrix's rows, as long as its longest row.
VREX_EXPORT std::vector<double> Abscissas(const Korvan::KQ::DataContracts::Matrix& matrix);

/// The z position of each row of the matrix, from its ZAxisRange.
VREX_EXPORT std::vector<double> RowPositions(const Korvan::KQ::DataContracts::Matrix& matrix);

}  // namespace vrex::data
