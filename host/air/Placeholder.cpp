namespace nimbrel {}
