// SPDX-License-Identifier: MIT
// Predicates choosing graph objects of the host's document (for example those to save),
// and the selector that accepts every object.
#pragma once

#include <qvmath/platform/export.h>

namespace KvF {

class CGraphObject;

/// A predicate on the host's graph objects. Selectors are created on the heap and owned
/// by whoever created or copied them (delete through the virtual destructor).
/// Thread safety: none beyond that of the objects tested.
class QVMATH_API IGraphObjectSelector {
 public:
  virtual ~IGraphObjectSelector();
  /// @return true when `object` (which may be null) is chosen by this selector.
  virtual bool operator()(const CGraphObject* object) const = 0;
  /// @return true when `object` is active, selected and chosen by this selector.
  virtual bool IsActiveAndSelected(const CGraphObject& object) const;
  /// @return a new selector choosing the same objects, owned by the caller.
  virtual IGraphObjectSelector* Copy() const = 0;
  /// @return a new selector that chooses every non-null object, owned by the caller.
  static IGraphObjectSelector* CreateTotal();

 protected:
  IGraphObjectSelector() = default;
  IGraphObjectSelector(const IGraphObjectSelector&) = default;
  IGraphObjectSelector& operator=(const IGraphObjectSelector&) = default;
};

}  // namespace KvF
