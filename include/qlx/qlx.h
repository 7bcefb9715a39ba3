// The core, all of it: formats as functions and values, by their standards.
#pragma once

#include <qlx/anc/element.h>
#include <qlx/anc/packet.h>
#include <qlx/anc/raster.h>
#include <qlx/anc/rate.h>
#include <qlx/anc/row.h>
#include <qlx/base/bounded_list.h>
#include <qlx/base/finding.h>
#include <qlx/base/frame_rate.h>
#include <qlx/base/result.h>
#include <qlx/base/ring.h>
#include <qlx/cc/a53.h>
#include <qlx/cc/cdp.h>
#include <qlx/cc/cdp_sections.h>
#include <qlx/cc/rate.h>
#include <qlx/cc/slots.h>
#include <qlx/cc/triplet.h>
#include <qlx/facade/packet.h>
#include <qlx/klv/keys.h>
#include <qlx/klv/klv.h>
#include <qlx/klv/partition.h>
#include <qlx/screen/screen.h>
