// SPDX-License-Identifier: MIT
// The host document's receiver of objects created while a document is loaded. The library
// passes it through to component filters and never calls it itself.
#pragma once

#include <qvmath/platform/export.h>

namespace KvF {

/// Outcome of processing a newly loaded object. The values are the host document's own:
/// the enumeration has a fixed `int` representation and names no value, so the host
/// uses whatever codes its document model defines (`static_cast` from int).
enum DocumentNewObjectProcessStatus : int {};

/// An event describing an object created while a document is loaded. Its contents are
/// the host's; the library only passes references through.
class QVMATH_API INewObjEvent {
 public:
  virtual ~INewObjEvent() = default;
};

/// Given to every `IComponentFilter::Load`: the filter reports each object it creates
/// through `ProcessNewObject`, and the document calls `FinalizeLoading` when all
/// components are in. Implemented by the host; never owned by the library.
class QVMATH_API IDeltaStateLogger {
 public:
  virtual ~IDeltaStateLogger() = default;
  /// Lets the document take over or register the object that `event` describes.
  /// @return the document's status code for it.
  virtual DocumentNewObjectProcessStatus ProcessNewObject(INewObjEvent& event) = 0;
  /// Called once after the last component of a load.
  virtual void FinalizeLoading() = 0;
};

}  // namespace KvF
