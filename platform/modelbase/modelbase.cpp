#include "modelbase.h"

const qint64 ONE_HOURE = 60LL * 60LL * 1000LL;

ModelBase::ModelBase() = default;
ModelBase::~ModelBase() = default;

// The base operations do nothing: a model overrides what its account
// lifecycle needs.
void ModelBase::initConnection() {}
void ModelBase::initData() {}
void ModelBase::movingData() {}
void ModelBase::loadLocalData(bool) {}
void ModelBase::prepareToClearData(bool) {}
void ModelBase::clearData(bool) {}
void ModelBase::getNewData() {}
