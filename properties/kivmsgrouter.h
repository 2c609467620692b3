//===- kivmsgrouter.h - Calls routed to member functions --------*- C++ -*-===//
//
// Small owned objects that call a member function of a target they don't
// own. KivSingleMsgRtr<C, T> calls a setter `void C::m(T)`;
// KivRetMsgRtr_const<C, R, ...> calls a constant getter. The bases give a
// default R (R()) for every form that isn't routed, so a router with a null
// target or member is harmless. Only the form without arguments is used by
// the routed properties; the forms with one to four arguments exist for
// getters that take them.
//
//===----------------------------------------------------------------------===//
#pragma once

template <class T>
class KivSingleMsgBase {
public:
  virtual ~KivSingleMsgBase() = default;
  virtual void call(T value) = 0;
};

// Arg is the member's parameter type when it differs from T, as in a setter
// taking `const KivString&` for T = KivString.
template <class C, class T, class Arg = T>
class KivSingleMsgRtr : public KivSingleMsgBase<T> {
public:
  using Method = void (C::*)(Arg);

  KivSingleMsgRtr(C* target, Method method) : target(target), method(method) {}
  void call(T value) override {
    if (target && method)
      (target->*method)(value);
  }

  C* target;
  Method method;
};

template <class R, class A1, class A2, class A3, class A4>
class KivRetMsgBase {
public:
  virtual ~KivRetMsgBase() = default;
  virtual R call(A1, A2, A3, A4) { return R(); }
  virtual R call(A1, A2, A3) { return R(); }
  virtual R call(A1, A2) { return R(); }
  virtual R call(A1) { return R(); }
  virtual R call() { return R(); }
};

// Ret0 is the getter's own return type when it differs from R, as in a
// getter giving `const KivString&` for R = KivString.
template <class C, class R, class A1, class A2, class A3, class A4, class Ret0 = R>
class KivRetMsgRtr_const : public KivRetMsgBase<R, A1, A2, A3, A4> {
public:
  using Method4 = R (C::*)(A1, A2, A3, A4) const;
  using Method3 = R (C::*)(A1, A2, A3) const;
  using Method2 = R (C::*)(A1, A2) const;
  using Method1 = R (C::*)(A1) const;
  using Method0 = Ret0 (C::*)() const;

  KivRetMsgRtr_const(const C* target, Method0 method) : target(target), method0(method) {}

  R call(A1 a1, A2 a2, A3 a3, A4 a4) override {
    return target && method4 ? (target->*method4)(a1, a2, a3, a4) : R();
  }
  R call(A1 a1, A2 a2, A3 a3) override {
    return target && method3 ? (target->*method3)(a1, a2, a3) : R();
  }
  R call(A1 a1, A2 a2) override { return target && method2 ? (target->*method2)(a1, a2) : R(); }
  R call(A1 a1) override { return target && method1 ? (target->*method1)(a1) : R(); }
  R call() override { return target && method0 ? (target->*method0)() : R(); }

  const C* target;
  Method4 method4 = nullptr;
  Method3 method3 = nullptr;
  Method2 method2 = nullptr;
  Method1 method1 = nullptr;
  Method0 method0 = nullptr;
};
