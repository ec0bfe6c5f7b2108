CREATE VIEW collections AS
SELECT DISTINCT * REPLACE (CAST(device AS VARCHAR) AS device)
FROM read_json('device=*/*.ndjson', format = 'newline_delimited', hive_partitioning = true, ignore_errors = true, columns = {
    "timestamp": 'BIGINT',
    ip: 'VARCHAR',
    wifiNetwork: 'STRUCT(connectedDevices STRUCT(name VARCHAR)[])',
    bleScan: 'STRUCT(address VARCHAR, name VARCHAR, "timestamp" BIGINT)[]',
    locationCollection: 'STRUCT(lat DOUBLE, lon DOUBLE, "timestamp" BIGINT)',
    nearbyDevices: 'STRUCT(name VARCHAR, protocolType VARCHAR, address VARCHAR,
                           txtRecord MAP(VARCHAR, VARCHAR), "timestamp" BIGINT)[]'
})
WHERE "timestamp" IS NOT NULL;

CREATE VIEW placed AS
SELECT *, wifiNetwork.connectedDevices[1].name AS network
FROM collections;

CREATE VIEW services AS
SELECT device, unnest(nearbyDevices) AS service
FROM placed;

-- busy: what there was on each network, in all
SELECT coalesce(network, '(none)') AS network, count(*) AS collections,
       sum(len(coalesce(bleScan, []))) AS peripherals, sum(len(coalesce(nearbyDevices, []))) AS services,
       count(locationCollection) AS located
FROM placed
GROUP BY ALL
ORDER BY network;

-- travel: peripherals that one device meets on several networks
SELECT device, peripheral.address, min(peripheral.name) AS name, count(*) AS seen, count(DISTINCT network) AS networks
FROM (SELECT device, network, unnest(bleScan) AS peripheral FROM placed)
GROUP BY device, peripheral.address
HAVING networks > 1
ORDER BY device, peripheral.address;

-- printers: where they are, over time
SELECT service.name, count(*) AS seen, list_sort(list(DISTINCT service.address) FILTER (service.address IS NOT NULL)) AS addresses
FROM services
WHERE service.protocolType = '_ipp._tcp.'
GROUP BY service.name
ORDER BY service.name;

-- shared: services that several devices meet
SELECT service.name, service.protocolType AS type, count(DISTINCT device) AS devices, count(*) AS seen
FROM services
GROUP BY service.name, type
HAVING devices > 1
ORDER BY service.name, type;
