// spoolTool(): `pastrel-config spool`, the maintainers' view of the jobs that wait for a printer
// in $HOME/.pastrel/spool/ (docs/connecting-printers.md).
//
//   spool list [PRINTER]   one line per waiting job, oldest first: id, bytes, printer
//   spool send [PRINTER]   sends the waiting jobs of every printer (or of PRINTER), oldest
//                          first; status 1 when a job is still waiting afterwards
//   spool drop JOB...      removes the named jobs; "drop all" removes every waiting job
//
// Jobs are only ever dropped by this command, by a person naming them. A usage error prints the
// usage line on standard error with status 2, as the rest of pastrel-config.
#pragma once

// argv[0] is "spool".
int spoolTool(int argc, char** argv);
