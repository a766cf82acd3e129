using System;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Reflection.Metadata;
using System.Reflection.PortableExecutable;
using System.Runtime.CompilerServices;
using Xunit;

// A case may end the native library of the whole process.
[assembly: CollectionBehavior(DisableTestParallelization = true)]

namespace Bx.Tests {
    public class UnderXunit {
        public static readonly TheoryData<string> Names = new TheoryData<string>(Cases.All.Keys);
        private const BindingFlags Every = BindingFlags.Static | BindingFlags.Public | BindingFlags.NonPublic;
        private static readonly string[] Blittable = {
            "Void", "IntPtr", "UIntPtr", "Int32", "UInt32", "Double", "Byte[]", "Record[]", "DeviceState&",
            "HitValue&", "IntPtr&", "UIntPtr&", "ManagerHandle"
        };

        [Theory, MemberData(nameof(Names))]
        public void Holds(string name) => Cases.All[name]();

        // Nothing that crosses the border is a function, or becomes one there.
        [Fact]
        public void GivesNothingToCallBack() {
            var crossing = typeof(Manager).Assembly.GetTypes()
                .SelectMany(type => type.GetMethods(Every))
                .Where(method => method.Attributes.HasFlag(MethodAttributes.PinvokeImpl)).ToArray();
            Assert.True(crossing.Length > 25);
            foreach (var method in crossing) {
                foreach (var parameter in method.GetParameters().Append(method.ReturnParameter))
                    Assert.Contains(parameter.ParameterType.Name, Blittable);
            }
            using (var file = new PEReader(File.OpenRead(typeof(Manager).Assembly.Location))) {
                var names = file.GetMetadataReader();
                var called = names.MemberReferences.Select(at => names.GetMemberReference(at).Name);
                Assert.DoesNotContain("GetFunctionPointerForDelegate", called.Select(names.GetString));
                var used = names.TypeReferences.Select(at => names.GetTypeReference(at).Name);
                Assert.DoesNotContain("UnmanagedCallersOnlyAttribute", used.Select(names.GetString));
            }
            Assert.DoesNotContain("(*", File.ReadAllText(Path.Combine(Here(), "../../include/bx/bx_c.h")));
        }

        private static string Here([CallerFilePath] string file = "") => Path.GetDirectoryName(file);
    }
}
