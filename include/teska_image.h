/* teska_image.h - gathers the headers of one subsystem: image processing, line by line */
#ifndef TESKA_IMAGE_H
#define TESKA_IMAGE_H
#include "fir.h"
#include "flood.h"
#include "fusm.h"
#include "ibilin.h"
#include "izat.h"
#include "whole_image.h"
#endif
