# IS-IS example: one emulated router on each of two ports. The first is a
# level 1/2 router with a circuit into a 3 by 3 grid of routers, a route
# range every grid node advertises and two traffic-engineering paths
# through the grid; the second is a level 2 router that advertises IPv6
# route ranges towards the device under test. Both configurations are
# written, the JSON each port received is shown, and the LSPs the second
# port learned are read back.
package require zkmainprotocol
package require zkchassis

# The object tree: every parent is given the staging objects of its children.
TCLIsisRouteRange  isisRoutes
TCLIsisGridTePath  isisPath
TCLIsisGrid        isisGrid [isisRoutes cget -this] [isisPath cget -this]
TCLIsisInterface   isisCircuit
TCLIsisLearnedLsp  isisLsp
TCLIsisRouter      isisRouter [isisCircuit cget -this] [isisRoutes cget -this] [isisGrid cget -this] [isisLsp cget -this]
TCLIsisServer      isisServer [isisRouter cget -this]

proc isisCheck {what code} {
    if {$code != 0} { error "$what failed ($code): $::zkErrorInfo" }
}

# Port 1/1/1: a level 1/2 router with TE and a grid behind its circuit.
isisCheck select [isisServer select 1 1 1]
isisCircuit configure -ipAddress 20.1.1.2 -ipMask 255.255.255.0 -connectToDut 0 \
    -networkType $isisPointToPoint -level $isisLevel1Level2 -metric 10 \
    -enableTrafficEngineering 1 -linkMetric 10 -maxBandwidth 1250000000.0
isisCheck addInterface [isisRouter addInterface toGrid]
isisRoutes configure -networkIpAddress 60.0.0.0 -prefix 24 -numberOfNetworks 4
isisCheck addRouteRange [isisGrid addRouteRange perNode]
isisPath configure -sourceRow 1 -sourceColumn 1 -destinationRow 3 -destinationColumn 3 -bandwidth 12500000.0
isisCheck addTePath [isisGrid addTePath corner]
isisPath configure -sourceRow 2 -sourceColumn 1 -destinationRow 2 -destinationColumn 3 -adminGroup {00 00 00 01}
isisCheck addTePath [isisGrid addTePath middle]
isisGrid configure -numRows 3 -numColumns 3 -entryPointRow 1 -entryPointColumn 1 \
    -firstSystemId 0000.0000.1001 -firstRouterId 30.0.0.1 -firstSubnetIpAddress 31.0.0.0 -maskWidth 24 \
    -linkType $isisGridLinkPointToPoint -enableTe 1 -linkMetric 5
isisCheck addGrid [isisRouter addGrid grid3x3]
isisRouter configure -systemId 0000.0000.0001 -areaAddresses 49.0001 -level $isisLevel1Level2 \
    -hostname west -enableWideMetric 1 -enableTrafficEngineering 1 -teRouterId 20.1.1.2
isisCheck addRouter [isisServer addRouter west]
isisCheck write [isisServer write]
puts "port 1/1/1 received:\n[zkchassis::written -pretty 1 1 1 isis]"

# Port 1/1/2: a level 2 router towards the device under test with two
# IPv6 route ranges.
isisCheck select [isisServer select 1 1 2]
isisCircuit setDefault
isisCircuit configure -ipAddress 20.1.2.2 -ipV6Address 2001:db8:12::2 -ipV6PrefixLength 64 \
    -connectToDut 1 -level $isisLevel2
isisCheck addInterface [isisRouter addInterface toDut]
isisRoutes configure -networkIpAddress 2001:db8:100:: -prefix 48 -numberOfNetworks 16 -metric 20
isisCheck addRouteRange [isisRouter addRouteRange internal6]
isisRoutes configure -networkIpAddress 2001:db8:200:: -prefix 64 -numberOfNetworks 100 \
    -routeOrigin $isisRouteExternal -metric 100
isisCheck addRouteRange [isisRouter addRouteRange external6]
isisRouter setDefault
isisRouter configure -systemId 0000.0000.0002 -areaAddresses 49.0002 -level $isisLevel2 \
    -hostname east -enableWideMetric 1
isisCheck addRouter [isisServer addRouter east]
isisCheck write [isisServer write]
puts "port 1/1/2 received:\n[zkchassis::written -pretty 1 1 2 isis]"

# What the device under test flooded to port 1/1/2, as the port reports it.
zkchassis::learn isisLsps 1 1 2 0000.0000.0002 {
    {-lspId 0000.0000.00aa.00-00 -sequenceNumber 12 -remainingLifetime 1150 -level 2 -tlvs {area 49.0002; hostname dut}}
    {-lspId 0000.0000.00aa.01-00 -sequenceNumber 3 -remainingLifetime 1100 -level 2 -tlvs {pseudonode}}
}
isisCheck getRouter [isisServer getRouter east]
isisCheck requestLearnedLsps [isisRouter requestLearnedLsps]
while {[isisRouter getLearnedLspList] != 0} { after 100 }
puts "port 1/1/2 learned [isisRouter cget -numberOfLearnedLsps] LSPs:"
for {set code [isisRouter getFirstLearnedLsp]} {$code == 0} {set code [isisRouter getNextLearnedLsp]} {
    puts "  [isisLsp cget -lspId] seq [isisLsp cget -sequenceNumber] level [isisLsp cget -level]\
lifetime [isisLsp cget -remainingLifetime]: [isisLsp cget -tlvs]"
}

# The objects go in the reverse order of their making.
foreach obj {isisServer isisRouter isisLsp isisCircuit isisGrid isisPath isisRoutes} { $obj -delete }
rename isisCheck {}
