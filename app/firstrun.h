// initConfiguration(): `pastrel-config init MODEL`, a till's first configuration. It copies the
// installed sample for the printer model to $HOME/.pastrel/conf/pastrel.conf, so that a new till
// prints right away and the installer only changes what differs (docs/setting-up-a-till.md).
//
// Choices (docs/setting-up-a-till.md):
//  - The models are a table (firstrun.cpp): a name, the sample file it starts from and a line
//    for `init --list`; a new printer model is one row there and one sample in examples/conf/.
//  - The samples are found from the program's own folder: <bindir>/../share/pastrel/examples,
//    which is /usr/share/pastrel/examples for the package and the build tree's
//    share/pastrel/examples for the built program. The sample is copied byte for byte: the
//    installation already wrote its catalogue folder into it.
//  - An existing file is never replaced unless --force is given: status 1 and one line on
//    standard error. The file is written whole or not at all: into a new file beside it, synced,
//    then linked in place (only where no file is) or, with --force, renamed over it. A link
//    named pastrel.conf is followed, as `pastrel-config set` follows it.
//  - The new file is readable by its owner only (it holds the database password).
//  - An unknown model is a usage error (status 2) that lists the models.
#pragma once

#include <QString>

// `init --list`: one line per model, its name and what it is for.
int listModels();
int initConfiguration(const QString& model, bool force);
