#pragma once

// All records that client and server share.

#include "FrameRecords.h"
#include "PlanOperators.h"
#include "PlanRecords.h"
#include "PlanRecordsDdl.h"
#include "PlanRecordsQuery.h"
#include "RecordsetRecords.h"
#include "VarData.h"
