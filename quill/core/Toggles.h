#pragma once
// The four feature toggles that choose, per stage, between the hand-written reactor and the one
// compiled from dataflow rules. Each accessor asks the toggle service once per process, with the
// default "on", and answers from that first reading ever after: a change of the service's answer
// takes effect only in a new process, so a running pipeline never mixes variants.
namespace Mpls {

// "MplsFluxInversion": stage 1, address inversion.
bool toggleMplsFluxInversionEnabled();
// "MplsFluxConcat": stage 2, router next-hops.
bool toggleMplsFluxConcatEnabled();
// "MplsFluxIntfRouterSm": stage 3, interface grouping.
bool toggleMplsFluxIntfRouterSmEnabled();
// "MplsFluxRouterIpNexthop": stage 4, MPLS-interface filter.
bool toggleMplsFluxRouterIpNexthopEnabled();

}  // namespace Mpls
