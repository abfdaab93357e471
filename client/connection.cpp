namespace qrd::client {}
