// The C++ layer for hosts: everything of <bvschema/bvschema.h>, with objects that free themselves, texts in
// UTF-8 and refusals as values.
//
//     bv::Runtime runtime;
//     bv::Job job = bv::Job::Create();
//     job["Mode"] = 2;
//     if (auto set = job["SplitLength"].Set("250 frm"); !set) std::puts(set.error().text.c_str());
//     job.Save("a.job.xml");
//
// A job, with all that it gave, is used by one thread at a time, on which a Runtime lives longer than it.
#pragma once

#include <bvschema/host/job.h>
#include <bvschema/host/preset.h>
#include <bvschema/host/runtime.h>
#include <bvschema/host/schema.h>
#include <bvschema/host/why.h>
