using System.Linq;
using System.Reflection;
using Xunit;

// A case may end the native library of the whole process.
[assembly: CollectionBehavior(DisableTestParallelization = true)]

namespace Bx.Tests {
    public class UnderXunit {
        public static readonly TheoryData<string> Names = new TheoryData<string>(Cases.All.Keys);
        private const string Blittable = " IntPtr UIntPtr Int32 UInt32 Double Byte[] Record[] IntPtr& UIntPtr& " +
            "DeviceState& HitValue& ManagerHandle ";

        [Theory, MemberData(nameof(Names))]
        public void Holds(string name) => Cases.All[name]();

        // No function, for one, that could be called back.
        [Fact]
        public void GivesOnlyBlittableArguments() {
            const BindingFlags all = BindingFlags.Static | BindingFlags.Public | BindingFlags.NonPublic;
            var native = typeof(Manager).Assembly.GetTypes().SelectMany(type => type.GetMethods(all))
                .Where(method => method.Attributes.HasFlag(MethodAttributes.PinvokeImpl)).ToArray();
            Assert.True(native.Length > 25);
            foreach (var parameter in native.SelectMany(method => method.GetParameters()))
                Assert.Contains(" " + parameter.ParameterType.Name + " ", Blittable);
        }
    }
}
