#pragma once

#include "moduleTest.h"

// The platform calls of operations on port 1 and ONU 101 of the fixture, with what is logged when each is
// refused.

using Calls = std::vector<Refusal>;

/// The calls of an operation that calls others: each ends in `lines`, and in `answer`.
inline Calls within(Calls calls, const std::vector<std::string>& lines, int answer = onuQos::onuQosResError) {
    for (Refusal& call : calls) {
        call.log.insert(call.log.end(), lines.begin(), lines.end());
        call.answer = answer;
    }
    return calls;
}

inline Calls operator+(Calls first, const Calls& rest) {
    first.insert(first.end(), rest.begin(), rest.end());
    return first;
}

// What the questions about port 1 ask of the platform, and what they log when it does not answer.

inline Calls typeCalls() {
    return Calls{{"interfaceGetTypeById", Refusal::Leaves::before}};
}

inline Calls classCalls() {
    return Calls{{"sharedLock", Refusal::Leaves::before, {lockLine("getOltPortBwIntf")}},
                 {"interfaceGetTypePonTechnologyById",
                  Refusal::Leaves::before,
                  {errorLine("getOltPortBwIntf", "interfaceGetTypePonTechnologyById failed for intf: 1")}}};
}

inline Calls distanceCalls() {
    return typeCalls() +
           Calls{
               {"getGponImpl",
                Refusal::Leaves::before,
                {refusalLine("onuQosPonLinkDistanceGet", "getGponImpl() failed for OLT intf: 1")}},
               {"getOltPort",
                Refusal::Leaves::before,
                {refusalLine("onuQosPonLinkDistanceGet",
                             "getGponImpl()->getOltPort() failed for OLT intf: 1")}},
               {"getOMconfig",
                Refusal::Leaves::before,
                {refusalLine("onuQosPonLinkDistanceGet", "oltPort->getOMconfig(() failed for OLT intf: 1")}}};
}

inline Calls maxFixedCalls() {
    return within(distanceCalls(), {refusalLine("onuQosGetOltMaxFixedRate",
                                                "onuQosGetOltMaxFixedRate failed for OLT intf: 1")}) +
           within(classCalls(),
                  {errorLine("onuQosGetOltMaxFixedRate", "getOltPortBwIntf failed for intf: 1")});
}

inline Calls actualCalls() {
    return typeCalls() +
           Calls{
               {"getGponImpl",
                Refusal::Leaves::before,
                {refusalLine("onuQosOltActualAvailRatesGet", "getGponImpl() failed for intf: 1")}},
               {"interfaceGetOltById",
                Refusal::Leaves::before,
                {refusalLine("onuQosOltActualAvailRatesGet", "interfaceGetOltById() failed for intf: 1")}},
               {"getOltPort",
                Refusal::Leaves::before,
                {refusalLine("onuQosOltActualAvailRatesGet",
                             "getGponImpl()->getOltPort() failed for OLT intf: 1")}},
               {"getAvailableBandwith",
                Refusal::Leaves::before,
                {refusalLine("onuQosOltActualAvailRatesGet",
                             "getGponImpl()->getOltPort()->getAvailableBandwith() failed for OLT intf: 1")}}};
}

/// The start of the operations on ONU 101.
inline Calls onuCalls(const std::string& lock, const std::string& operation) {
    return Calls{{lock, Refusal::Leaves::before, {lockLine(operation)}}} + typeCalls() +
           Calls{{"interfaceParentGet",
                  Refusal::Leaves::before,
                  {refusalLine(operation, "interfaceParentGet() failed for ONU intf: 101")}}};
}

inline Calls ratesOverheadCalls() {
    return onuCalls("sharedLock", "onuQosRatesOverheadGet");
}

inline Calls onuOverheadCalls() {
    Calls calls = onuCalls("sharedLock", "onuQosOnuOverheadGet");
    for (const char* onu : {"102", "103", "201", "202", "203"}) {
        calls.push_back({"interfaceParentGet",
                         Refusal::Leaves::before,
                         {refusalLine("onuQosOnuOverheadGet",
                                      std::string("interfaceParentGet() failed for ONU intf: ") + onu)}});
    }
    return calls;
}

inline Calls estimateCalls() {
    return Calls{{"sharedLock", Refusal::Leaves::before, {lockLine("onuQosOltEstAvailRatesGet")}}} +
           typeCalls() +
           within(maxFixedCalls(), {refusalLine("onuQosOltEstAvailRatesGet",
                                                "onuQosGetOltMaxFixedRate failed for OLT intf: 1")});
}

inline Calls alarmCalls(bool reported) {
    Calls calls =
        Calls{{"exclusiveLock", Refusal::Leaves::before, {lockLine("onuQosOltCacAlarm")}}} + typeCalls() +
        Calls{{"interfaceSlotPortIntfGet",
               Refusal::Leaves::before,
               {refusalLine("onuQosOltCacAlarm", "interfaceSlotPortIntfGet() failed for OLT intf: 1")}}};
    if (reported) {
        calls.push_back(
            {"reportAlarm",
             Refusal::Leaves::before,
             {errorLine("onuQosOltCacAlarm", "reportAlarm Report failed for errorCode: 1600570, intf: 1")}});
    }
    return calls;
}

/// The state update of port 1, and the alarm that it ends with.
inline Calls updateCalls(bool reported) {
    const std::string update = "onuQosOltCacStateUpdate";
    return Calls{{"exclusiveLock", Refusal::Leaves::before, {lockLine(update)}}} + typeCalls() +
           within(maxFixedCalls(), {refusalLine(update, "onuQosOltCacStateUpdate failed for OLT intf: 1")}) +
           within(
               alarmCalls(reported),
               {refusalLine(update, std::string("onuQosOltCacAlarm() failed for OLT intf: 1reportAlarm: ") +
                                        (reported ? "True" : "False"))});
}

/// What the accounting of ONU 101's first T-CONT, and of the ONU itself, asks.
inline Calls accountTContCalls(bool add) {
    const std::string operation = "onuQosCalcAllocRatesOnTContChange";
    const auto line = refusalLine(operation, "onuQosRatesOverheadGet() failed for ONU intf: 101");
    return onuCalls("exclusiveLock", operation) + (add ? within(ratesOverheadCalls(), {line}) : Calls{});
}

inline Calls accountOnuCalls(bool add) {
    const std::string operation = "onuQosCalcAllocRatesOnOnuChange";
    const auto line = refusalLine(operation, "onuQosOnuOverheadGet() failed for ONU intf: 101");
    return onuCalls("exclusiveLock", operation) + (add ? within(onuOverheadCalls(), {line}) : Calls{});
}

/// What the actual admission check of ONU 101 asks.
inline Calls admissionCalls() {
    const std::string operation = "onuQosActualCacOnServiceApply";
    return within(onuCalls("sharedLock", operation), {}, false) +
           within(ratesOverheadCalls(),
                  {refusalLine(operation, "onuQosRatesOverheadGet() failed for intf: 101")}, false) +
           within(actualCalls(),
                  {refusalLine(operation, "onuQosOltActualAvailRatesGet() failed for OLT intf: 1")}, false);
}
