#pragma once
/// \file
/// The base of 2D transforms, and the registry that builds saved ones by name.

#include <cstddef>
#include <functional>
#include <string>

#include "../api.h"
#include "matr3x3.h"
#include "var_a.h"
#include "xini_reader.h"
#include "xini_writer.h"
#include "xy.h"

namespace SatCommonUtils {

/// A computing device; defined by hosts that have one.
class TZxEnvCL;
/// A transform on a computing device; defined by hosts that have one.
class TZxCLInstance;

/// A map of the plane with an inverse. Const objects may be used from several threads at once.
///
/// The virtual operations stand in the order of their table slots, which is part of the binary interface.
class ORBMATH_API TZx2DTransform {
 public:
  class TSerializer;

  virtual ~TZx2DTransform();
  /// A new object that maps as this one does.
  virtual var_a<TZx2DTransform*> CreateCopy() const = 0;
  /// A new object whose direct map is the inverse of this one. \throws an exception of the derived class when there is
  /// none.
  virtual var_a<TZx2DTransform*> CreateInverseTransform() const = 0;
  /// The transform on a computing device; empty, as here, when it cannot run there.
  virtual var_a<TZxCLInstance*> CreateCLInstance(TZxEnvCL& environment) const;
  /// The direct map of a point.
  virtual xy_d GetTraCoord(const xy_d& point) const = 0;
  /// The inverse map of a point.
  virtual xy_d GetInverseTraCoord(const xy_d& point) const = 0;
  /// The direct map, checked: here a point is refused when its image is not finite.
  /// \param result untouched when refused; may be `point`. \return false when refused.
  virtual bool GetTraCoordB(const xy_d& point, xy_d& result) const;
  /// The inverse map, checked as above.
  virtual bool GetInverseTraCoordB(const xy_d& point, xy_d& result) const;
  /// The direct map of `count` points, each as `GetTraCoord` does it. `results` may be `points`.
  virtual void GetTraCoordM(const xy_d* points, xy_d* results, std::size_t count) const;
  /// The inverse map of `count` points, each as `GetInverseTraCoord` does it. `results` may be `points`.
  virtual void GetInverseTraCoordM(const xy_d* points, xy_d* results, std::size_t count) const;
  /// Properties of the transform as bits; here none.
  virtual unsigned int GetTransformFlags() const;
  /// Time that one point takes in the direct or the inverse map, in units of an affine map.
  virtual double GetTransformTime(bool inverse) const = 0;
  /// The matrix that takes (x, y, 1) to a multiple of (x', y', 1). \return false, the matrix untouched, when there is
  /// none, as here.
  virtual bool GetMatrix(matr3x3* matrix) const;
  /// The matrix of the inverse map, as above.
  virtual bool GetInverseMatrix(matr3x3* matrix) const;
  /// The name under which the class is registered.
  virtual const char* GetContentName() const = 0;

 protected:
  TZx2DTransform() = default;
  TZx2DTransform(const TZx2DTransform&) = default;
  TZx2DTransform& operator=(const TZx2DTransform&) = default;

  /// Writes the parameters into the current section. \throws an exception when they could not be written.
  virtual void SaveContent(TZxXIniWriter* ini) const = 0;
  /// Reads what `SaveContent` wrote. \throws an exception when that fails.
  virtual void LoadContent(TZxXIniReader* ini) = 0;
};

/// The process's registry of transforms: from a content name to a factory of new default transforms. It also saves
/// a transform together with its name, and loads it without knowing its class beforehand. Thread-safe.
///
/// `TProjectiveTransform` is there from the beginning.
class ORBMATH_API TZx2DTransform::TSerializer {
 public:
  /// Makes an empty transform that a document then fills.
  using TFactory = std::function<var_a<TZx2DTransform*>()>;

  /// Adds an entry. \return false, nothing changed, when the name is taken or the factory is empty.
  static bool RegisterName(const std::string& name, TFactory factory);
  /// Takes an entry away. \return false when there is none of that name.
  static bool UnregisterName(const std::string& name);

  /// A copy of the factory that is registered under the name; empty when there is none.
  static TFactory FindFactory(const std::string& name);

  /// A new default transform; empty when the name is not registered.
  static var_a<TZx2DTransform*> CreateN(const std::string& name);
  /// A new default transform. \throws TZxMessage when the name is not registered.
  static var_a<TZx2DTransform*> CreateE(const std::string& name);

  /// Writes the child section `key`: the item "ContentName" and the section "Content" with the parameters.
  /// \throws TZxMessage when it could not be written.
  static void SaveE(const TZx2DTransform& transform, TZxXIniWriter* writer, const std::string& key);
  /// Reads what `SaveE` wrote.
  /// \throws TZxMessage when the section is missing or not complete, or its class is not registered.
  static var_a<TZx2DTransform*> LoadE(TZxXIniReader* reader, const std::string& key);
  /// As `LoadE`, empty instead of throwing.
  static var_a<TZx2DTransform*> LoadN(TZxXIniReader* reader, const std::string& key);
};

}  // namespace SatCommonUtils
